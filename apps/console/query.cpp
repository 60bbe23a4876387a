#include "query.hpp"

#include <chrono>
#include <memory>

#include "interrupt.hpp"

namespace console {
namespace {

using Clock = std::chrono::steady_clock;

// A wait of a millisecond may take one tick of the system clock, up to 16 ms, which is longer than
// most queries: at first the thread only gives way to others.
constexpr auto kBusyTime = std::chrono::milliseconds(20);

struct DestroyQuery {
    void operator()(SystemSearchQuery* query) const { ss_query_destroy(query); }
};

void copy_results(SystemSearchQuery* query, Answer& answer) {
    answer.results.resize(answer.status.count);
    for (std::uint32_t i = 0; i < answer.status.count; ++i) {
        Result& result = answer.results[i];
        result.path = ss_query_path(query, i);
        result.kind = ss_query_kind(query, i);
        ss_query_metadata(query, i, &result.metadata);
    }
}

}  // namespace

QueryEnd ask(const std::function<SystemSearchQuery*()>& make, Answer& answer) {
    const auto started = Clock::now();
    const std::unique_ptr<SystemSearchQuery, DestroyQuery> query(make());
    if (!query) return QueryEnd::kNotStarted;

    QueryStatus& status = answer.status;
    for (;;) {
        ss_query_poll(query.get(), &status);
        if (status.state != SS_QUERY_RUNNING) break;
        const bool is_busy_time = Clock::now() - started < kBusyTime;
        if (wait_or_interrupt(is_busy_time ? 0 : 1)) return QueryEnd::kInterrupted;
    }
    const auto ended = Clock::now();
    answer.milliseconds = std::chrono::duration<double, std::milli>(ended - started).count();
    if (status.state != SS_QUERY_DONE) return QueryEnd::kFailed;
    copy_results(query.get(), answer);
    return QueryEnd::kDone;
}

}  // namespace console
