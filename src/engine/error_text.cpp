#include "engine/error_text.hpp"

#include <cstring>

namespace system_search {

const char* error_text(Engine& engine) noexcept {
    platform::MutexLock lock(engine.mutex);
    const std::size_t bytes = engine.error.size() + 1;
    char* const buffer = platform::thread_buffer(bytes);
    if (buffer == nullptr) return "Cannot read index status.";
    std::memcpy(buffer, engine.error.c_str(), bytes);
    return buffer;
}

}  // namespace system_search
