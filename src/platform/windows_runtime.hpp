// What the rest of the library needs of windows_runtime.cpp.
#pragma once

namespace system_search::platform {

// Gives the stack protector a value that nobody knows. Called once, while the library is being
// attached, by a function that has no guard on the stack itself.
void seed_stack_guard() noexcept;

// Gives back the C++ runtime's slot and its reserve. Nothing may be thrown afterwards.
void release_runtime() noexcept;

}  // namespace system_search::platform
