#include "model/searches.hpp"

#include <algorithm>
#include <utility>

namespace window {

void Searches::ask(const Question& question, SearchPlan::Time now) {
    if (was_asked_ && question == question_) return;
    phrasing_ = phrase(question);
    question_ = question;
    ask_again(now);
}

void Searches::ask_again(SearchPlan::Time now) {
    was_asked_ = true;
    answered_ = false;
    stop();
    plan_.ask(now);
}

void Searches::stop() {
    for (ss::Query& query : running_) {
        if (query) discard_(std::move(query));
    }
    running_.clear();
}

std::optional<Found> Searches::tick(const ss::Engine& engine, std::uint32_t few,
                                    SearchPlan::Time now) {
    std::optional<Found> found = take_answer(now);
    if (!was_asked_) return found;
    // Of rows that have to be held to more words, nobody knows how many make what the list shows.
    if (phrasing_.holds_rows) few = SS_MAX_RESULTS;
    const std::optional<std::uint32_t> limit = plan_.due(now, few);
    if (!limit) return found;
    stop();
    plan_.started(*limit);
    started_at_ = now;
    start(engine, *limit);
    if (running_.empty()) return failure(now);
    return found;
}

/* All of the question's queries, or none. They run side by side. */
void Searches::start(const ss::Engine& engine, std::uint32_t limit) {
    limit_ = limit;
    const ss::Filter filter = question_.filter(limit);
    running_.reserve(phrasing_.questions.size());
    for (const std::string& text : phrasing_.questions) {
        ss::Query query = engine.search(text, filter);
        if (!query) {
            stop();
            return;
        }
        running_.push_back(std::move(query));
    }
}

std::optional<Found> Searches::take_answer(SearchPlan::Time now) {
    if (running_.empty()) return std::nullopt;
    std::uint32_t searched = 0;
    bool failed = false;
    for (const ss::Query& query : running_) {
        const ss::Outcome outcome = query.poll();
        if (outcome.state == ss::QueryState::kRunning) return std::nullopt;
        failed = failed || outcome.state != ss::QueryState::kDone;
        searched = std::max(searched, outcome.index_entries);
    }
    if (failed) {
        stop();
        return failure(now);
    }
    Found found;
    found.rows = FoundRows(std::move(running_), phrasing_, limit_);
    running_.clear();
    found.searched = searched;
    found.question = question_;
    found.phrasing = phrasing_;
    found.milliseconds = std::chrono::duration<double, std::milli>(now - started_at_).count();
    found.is_new = !std::exchange(answered_, true);
    plan_.finished(found.rows.holds_all(), now);
    return found;
}

Found Searches::failure(SearchPlan::Time now) {
    plan_.finished(/*holds_all=*/true, now);
    Found found;
    found.failed = true;
    found.question = question_;
    found.phrasing = phrasing_;
    found.is_new = !std::exchange(answered_, true);
    return found;
}

}  // namespace window
