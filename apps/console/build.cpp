#include "build.hpp"

#include "common/absolute_path.hpp"
#include "interrupt.hpp"
#include "model/sentences.hpp"

namespace console {
namespace {

constexpr unsigned kPollMilliseconds = 5;
constexpr auto kProgressPeriod = std::chrono::milliseconds(100);

}  // namespace

bool Build::start(const Request& request) {
    std::string scope, cache;
    for (const auto& [typed, absolute] :
         {std::pair(&request.folder, &scope), std::pair(&request.cache, &cache)}) {
        if (typed->empty()) continue;
        const auto path = app::absolute_path(*typed);
        if (!path) {
            error_ = "\"" + *typed + "\" is not a path.";
            return false;
        }
        *absolute = *path;
    }
    started_ = Clock::now();
    if (!ss_start(engine_, scope.c_str(), cache.c_str(), request.rebuild)) {
        error_ = ss_error(engine_);
        if (error_.empty()) error_ = "The index could not be started.";
        return false;
    }
    poll();
    return true;
}

const EngineStatus& Build::poll() {
    if (status_.state != SS_ENGINE_IDLE && !is_running()) return status_;
    ss_status(engine_, &status_);
    if (!is_running()) {
        ended_ = Clock::now();
        error_ = ss_error(engine_);
    }
    return status_;
}

void Build::wait(ProgressLine& progress) {
    for (auto next_show = started_ + kProgressPeriod; poll().state == SS_ENGINE_RUNNING;) {
        if (is_interrupted()) ss_cancel(engine_);
        if (Clock::now() >= next_show) {
            progress.show(progress_text(status_, milliseconds() / 1000));
            next_show = Clock::now() + kProgressPeriod;
        }
        wait_or_interrupt(kPollMilliseconds);
    }
    progress.clear();
}

double Build::milliseconds() const {
    const auto end = is_running() ? Clock::now() : ended_;
    return std::chrono::duration<double, std::milli>(end - started_).count();
}

}  // namespace console
