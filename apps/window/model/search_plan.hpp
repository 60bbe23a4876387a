/* Which query to start, and when: few results at once after each key, the thousand when typing
 * pauses, the same question again when the index has changed.
 *
 * Each result costs the library one question to the disk, so the first query after a key asks for
 * no more than the list shows. The plan knows no clock and no query: its caller tells it both. */
#pragma once

#include <system_search.hpp>

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace window {

/* What the user wants to find. */
struct Question {
    std::string text;
    ss::Kind kind = ss::Kind::kAny;
    bool match_case = false;
    bool whole_path = false;

    /* A name holds no "/", so a text with one can only be meant for whole paths. */
    bool matches_path() const;
    ss::Filter filter(std::uint32_t limit) const;

    friend bool operator==(const Question&, const Question&) = default;
};

class SearchPlan {
public:
    using Time = std::chrono::steady_clock::time_point;

    /* Typing pauses when no key has come for this long; most keys come sooner. */
    static constexpr std::chrono::milliseconds kPause{250};
    /* While the disk is read, the growing index is asked again no sooner than this. */
    static constexpr std::chrono::milliseconds kRest{250};

    /* The user asks something else: whatever runs is of no use any more. */
    void ask(Time now);
    /* The index has grown, or another one has taken its place. */
    void index_changed();

    /* The limit of the query to start now, if one is due. `few` is what the list shows. A query
       that still runs is to be dropped first. */
    std::optional<std::uint32_t> due(Time now, std::uint32_t few) const;
    void started(std::uint32_t limit);
    /* The query that was started last is done: `holds_all` when it holds all that matched, or
       when it failed and asking again would be no better. */
    void finished(bool holds_all, Time now);

    bool is_running() const { return running_; }
    /* Something is due soon, so the caller should look again within milliseconds. */
    bool is_waiting() const { return asked_ || wants_more_ || outdated_; }

private:
    bool asked_ = false;       // by the user, and no query was started for it yet
    bool running_ = false;     // a query was started and is not done
    bool wants_more_ = false;  // the last answer holds only what the list showed
    bool outdated_ = false;    // the index has changed since the last query started
    std::uint32_t limit_ = 0;  // of the query that was started last
    Time asked_at_;
    Time finished_at_;
};

}  // namespace window
