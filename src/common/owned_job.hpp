// Handing a job over to the thread that does it: from then on the thread owns it.
#pragma once

#include <memory>

#include "platform/platform.hpp"

namespace system_search {

// Runs `run(*job)` on `thread`. After an error nothing runs, and the job is gone.
template <auto run, class Job>
platform::Error start_owned(platform::Thread& thread, std::unique_ptr<Job> job) noexcept {
    const auto body = [](void* argument) noexcept {
        const std::unique_ptr<Job> owned(static_cast<Job*>(argument));
        run(*owned);
    };
    const platform::Error error = thread.start(body, job.get());
    if (error == platform::kSuccess) static_cast<void>(job.release());
    return error;
}

}  // namespace system_search
