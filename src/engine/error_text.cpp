#include "engine/error_text.hpp"

#include <algorithm>
#include <cstring>

namespace system_search {
namespace {

// A thread's first call takes room for nearly every text. So the buffer need not grow and move
// later, and a host that still holds the pointer of an earlier call reads the newer text there.
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
