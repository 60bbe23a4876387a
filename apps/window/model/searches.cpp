#include "model/searches.hpp"

#include <utility>

namespace window {

void Searches::ask(const Question& question, SearchPlan::Time now) {
    if (was_asked_ && question == question_) return;
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
    if (running_) discard_(std::exchange(running_, ss::Query()));
}

std::optional<Found> Searches::tick(const ss::Engine& engine, std::uint32_t few,
                                    SearchPlan::Time now) {
    std::optional<Found> found = take_answer(now);
    if (!was_asked_) return found;
    const std::optional<std::uint32_t> limit = plan_.due(now, few);
    if (!limit) return found;
    stop();
    plan_.started(*limit);
    started_at_ = now;
    running_ = engine.search(question_.text, question_.filter(*limit));
    if (!running_) {
        plan_.finished(/*holds_all=*/true, now);
        const bool is_new = !std::exchange(answered_, true);
        return Found{ss::Query(), {ss::QueryState::kFailed}, question_, 0, is_new};
    }
    return found;
}

std::optional<Found> Searches::take_answer(SearchPlan::Time now) {
    if (!running_) return std::nullopt;
    const ss::Outcome outcome = running_.poll();
    if (outcome.state == ss::QueryState::kRunning) return std::nullopt;
    const bool is_done = outcome.state == ss::QueryState::kDone;
    plan_.finished(!is_done || outcome.matched <= outcome.count, now);
    const std::chrono::duration<double, std::milli> taken = now - started_at_;
    Found found{std::exchange(running_, ss::Query()), outcome, question_, taken.count(),
                !std::exchange(answered_, true)};
    if (!is_done) discard_(std::exchange(found.query, ss::Query()));
    return found;
}

}  // namespace window
