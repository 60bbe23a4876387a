#include "engine/error_text.hpp"

#include <algorithm>
#include <cstring>

namespace system_search {
namespace {

// Room for nearly every text, taken at a thread's first call: so the buffer stays where it is and
// a pointer that the host still holds sees the next text.
constexpr std::size_t kUsualBytes = 1024;

}  // namespace

const char* error_text(const Engine& engine) noexcept {
    platform::MutexLock lock(engine.mutex);
    const std::size_t bytes = engine.error.size() + 1;
    char* const buffer = platform::thread_buffer(std::max(bytes, kUsualBytes));
    if (buffer == nullptr) return "Cannot read index status.";
    std::memcpy(buffer, engine.error.c_str(), bytes);
    return buffer;
}

}  // namespace system_search
