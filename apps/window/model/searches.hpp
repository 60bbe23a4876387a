/* The queries of the window: at most one runs, and its answer is handed over when it is there. */
#pragma once

#include <functional>
#include <optional>

#include "model/search_plan.hpp"

namespace window {

/* An answer, with the query that holds its results. */
struct Found {
    ss::Query query;  // empty when the search failed
    ss::Outcome outcome;
    Question question;
    double milliseconds = 0;
    bool is_new = false;  // the first answer to its question
};

class Searches {
public:
    /* Takes queries that are no longer needed: destroying one may wait for the disk. */
    using Discard = std::function<void(ss::Query)>;

    explicit Searches(Discard discard) : discard_(std::move(discard)) {}

    /* Any change of the question. The same question again changes nothing. */
    void ask(const Question& question, SearchPlan::Time now);
    /* The same question to another disk: its answer is a new one. */
    void ask_again(SearchPlan::Time now);
    /* The index has grown or been replaced. */
    void index_changed() { plan_.index_changed(); }

    /* Starts what is due on `engine` and hands over what is done. `few` is what the list shows. */
    std::optional<Found> tick(const ss::Engine& engine, std::uint32_t few, SearchPlan::Time now);

    /* Drops the query that runs. */
    void stop();

    bool is_running() const { return static_cast<bool>(running_); }
    /* The question as it is now has had its first answer. */
    bool is_answered() const { return answered_; }
    bool is_waiting() const { return plan_.is_waiting(); }

private:
    std::optional<Found> take_answer(SearchPlan::Time now);

    const Discard discard_;
    SearchPlan plan_;
    Question question_;
    bool was_asked_ = false;  // ever
    bool answered_ = false;   // the question as it is now
    ss::Query running_;
    SearchPlan::Time started_at_;
};

}  // namespace window
