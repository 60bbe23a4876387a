#include "model/search_plan.hpp"

#include <algorithm>

namespace window {

bool Question::matches_path() const {
    return whole_path || text.find('/') != std::string::npos;
}

ss::Filter Question::filter(std::uint32_t limit) const {
    std::uint32_t match = 0;
    if (matches_path()) match |= SS_MATCH_PATH;
    if (match_case) match |= SS_MATCH_CASE;
    return {kind, static_cast<ss::Match>(match), limit};
}

void SearchPlan::ask(Time now) {
    asked_ = true;
    asked_at_ = now;
}

void SearchPlan::index_changed() {
    outdated_ = true;
}

std::optional<std::uint32_t> SearchPlan::due(Time now, std::uint32_t few) const {
    const std::uint32_t first = std::clamp<std::uint32_t>(few, 1, SS_MAX_RESULTS);
    if (asked_) return first;
    if (running_) return std::nullopt;
    if (wants_more_ && now - asked_at_ >= kPause) return SS_MAX_RESULTS;
    if (outdated_ && now - finished_at_ >= kRest) return std::max(limit_, first);
    return std::nullopt;
}

void SearchPlan::started(std::uint32_t limit) {
    asked_ = false;
    running_ = true;
    wants_more_ = false;
    outdated_ = false;
    limit_ = limit;
}

void SearchPlan::finished(bool holds_all, Time now) {
    running_ = false;
    finished_at_ = now;
    wants_more_ = !holds_all && limit_ < SS_MAX_RESULTS;
}

}  // namespace window
