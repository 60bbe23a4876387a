#include "engine/reader_threads.hpp"

namespace system_search {

platform::Thread* ReaderThreads::start(platform::Thread::Body body, void* argument) noexcept {
    try {
        threads_.emplace_back();
    } catch (...) {
        return nullptr;
    }
    if (threads_.back().start(body, argument) == platform::kSuccess) return &threads_.back();
    threads_.pop_back();
    return nullptr;
}

platform::Error ReaderThreads::try_join() noexcept {
    for (; !threads_.empty(); threads_.pop_back()) {
        if (const platform::Error error = threads_.back().try_join()) return error;
    }
    return platform::kSuccess;
}

void ReaderThreads::join() noexcept {
    for (; !threads_.empty(); threads_.pop_back()) threads_.back().join();
}

}  // namespace system_search
