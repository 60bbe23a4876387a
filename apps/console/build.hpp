/* A build of the library's engine, from its start to its end, with a clock beside it. */
#pragma once

#include <system_search.h>

#include <chrono>
#include <string>

#include "model/arguments.hpp"
#include "progress_line.hpp"

namespace console {

/* Owns an engine. Its destruction cancels a build that still runs and waits for its end. */
class Build {
public:
    Build() : engine_(ss_create()) {}
    ~Build() { ss_destroy(engine_); }
    Build(const Build&) = delete;
    Build& operator=(const Build&) = delete;

    /* Starts the build that the request asks for. On failure returns false; error() says why. */
    bool start(const Request& request);

    /* Waits for the end of the build, showing its progress meanwhile; an interrupt cancels it. */
    void wait(ProgressLine& progress);

    /* One look at the build: takes its status, and the time if it has ended. */
    const EngineStatus& poll();

    SystemSearchEngine* engine() const { return engine_; }
    bool is_running() const { return status_.state == SS_ENGINE_RUNNING; }
    const EngineStatus& status() const { return status_; }  // as of the last poll
    double milliseconds() const;                            // until the end, or until now

    /* Why the build failed, or what is wrong though it did not; "" when all is well. */
    const std::string& error() const { return error_; }

private:
    using Clock = std::chrono::steady_clock;

    SystemSearchEngine* const engine_;  // null when memory is short
    EngineStatus status_ = {};
    std::string error_;
    Clock::time_point started_;
    Clock::time_point ended_;
};

}  // namespace console
