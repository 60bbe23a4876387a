#include "engine/engine.hpp"

#include <utility>

namespace system_search {

std::shared_ptr<Index> current_index(const Engine& engine) noexcept {
    platform::MutexLock lock(engine.mutex);
    return engine.index;
}

void replace_index(Engine& engine, std::shared_ptr<Index> index) noexcept {
    platform::MutexLock lock(engine.mutex);
    engine.index.swap(index);
}

void reserve_error(Engine& engine) {
    constexpr std::size_t kLongestOwnText = 64;
    platform::MutexLock lock(engine.mutex);
    engine.error.reserve(kLongestOwnText);
}

void set_error(Engine& engine, std::string_view text) noexcept {
    platform::MutexLock lock(engine.mutex);
    try {
        engine.error = text;
    } catch (...) {
        engine.error.clear();
    }
}

}  // namespace system_search
