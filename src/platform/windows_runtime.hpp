// What windows.cpp and windows_runtime.cpp share.
#pragma once

namespace system_search::platform {

// Gives back the C++ runtime's slot and its reserve. Nothing may be thrown afterwards.
void release_runtime() noexcept;

}  // namespace system_search::platform
