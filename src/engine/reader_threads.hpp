// The threads that read ahead of a build.
//
// A thread that ends has to wait for everyone who loads or unloads a library in the host at that
// moment. So the build waits only until its readers have done their work, and whoever joins the
// build's own thread joins these as well.
#pragma once

#include <list>

#include "platform/platform.hpp"

namespace system_search {

class ReaderThreads {
public:
    ReaderThreads() = default;
    ReaderThreads(const ReaderThreads&) = delete;
    ReaderThreads& operator=(const ReaderThreads&) = delete;
    ~ReaderThreads() { join(); }

    // For the build thread. Null when no thread could be had.
    platform::Thread* start(platform::Thread::Body body, void* argument) noexcept;

    // For whoever has joined the build thread, or is it. After an error those that are left may be
    // joined later.
    [[nodiscard]] platform::Error try_join() noexcept;
    // The same, but ends the process when it fails.
    void join() noexcept;

private:
    std::list<platform::Thread> threads_;
};

}  // namespace system_search
