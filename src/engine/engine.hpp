// The object behind an engine handle.
//
// The host's threads and one build thread meet here. `mutex` guards `index` and `error` only, is
// held briefly, and never together with an Index's own mutex. The atomics are read and written
// without it, so a status may mix two moments of a build.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "engine/reader_threads.hpp"
#include "index/index.hpp"
#include "platform/platform.hpp"

namespace system_search {

struct Engine {
    mutable platform::Mutex mutex;
    // What queries and ss_status see. Replaced whole, by ss_start and by the build thread.
    std::shared_ptr<Index> index SS_GUARDED_BY(mutex);
    // Started by ss_start, joined by the next ss_start or by ss_destroy; touched by no one else.
    platform::Thread thread;
    ReaderThreads readers;            // of the build thread, until it has ended; joined behind it
    std::atomic<bool> cancel{false};  // host's threads; cleared by ss_start
    std::atomic<std::uint32_t> state{0};       // SS_ENGINE_...; ss_start and the build thread
    std::atomic<std::uint32_t> skipped{0};     // build thread
    std::atomic<std::uint32_t> limited{0};     // build thread
    std::atomic<std::uint32_t> from_cache{0};  // build thread
    std::string error SS_GUARDED_BY(mutex);    // UTF-8, empty when there is none
};

std::shared_ptr<Index> current_index(const Engine& engine) noexcept;
// The old index is released after the lock.
void replace_index(Engine& engine, std::shared_ptr<Index> index) noexcept;
// Gets the memory for the texts that a build may have to set when there is none left. Throws
// std::bad_alloc.
void reserve_error(Engine& engine);
// Never fails: a text that is longer than what was reserved and finds no memory is dropped.
void set_error(Engine& engine, std::string_view text) noexcept;

}  // namespace system_search
