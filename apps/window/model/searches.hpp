/* The queries of the window: those of one question at most run at a time, and their common answer
 * is handed over when the last of them is done. */
#pragma once

#include <functional>
#include <optional>
#include <vector>

#include "model/found_rows.hpp"
#include "model/phrasing.hpp"
#include "model/search_plan.hpp"

namespace window {

/* An answer, with its rows. */
struct Found {
    FoundRows rows;  // none when the search failed
    bool failed = false;
    std::uint32_t searched = 0;  // names
    Question question;
    Phrasing phrasing;
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

    /* Drops what runs. */
    void stop();

    bool is_running() const { return !running_.empty(); }
    /* The question as it is now has had its first answer. */
    bool is_answered() const { return answered_; }
    bool is_waiting() const { return plan_.is_waiting(); }

private:
    void start(const ss::Engine& engine, std::uint32_t limit);
    std::optional<Found> take_answer(SearchPlan::Time now);
    Found failure(SearchPlan::Time now);

    const Discard discard_;
    SearchPlan plan_;
    Question question_;
    Phrasing phrasing_;       // of the question
    bool was_asked_ = false;  // ever
    bool answered_ = false;   // the question as it is now
    std::vector<ss::Query> running_;
    std::uint32_t limit_ = 0;  // of those that run
    SearchPlan::Time started_at_;
};

}  // namespace window
