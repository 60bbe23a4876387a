// System Search for C++17 and newer: owning handles and a range over system_search.h.
//
// SPDX-License-Identifier: MIT
//
// The C header stays the contract: every function here calls the C function of the same task and
// adds ownership and types, never behaviour. What a function promises, when it blocks and which
// threads may call it is written there.
//
//  1. Handles. `Engine` and `Query` own theirs and are move-only. Either may be empty: made so, or
//     moved from, or because the library could not provide one. Test it with `if (engine)`. Every
//     function may be called on an empty object and then answers as the C function does for null.
//
//  2. Texts. `Text` takes a NUL-terminated UTF-8 text as it is, without a copy: a literal, a
//     std::string, or the char8_t texts that C++20 makes of std::filesystem::path::u8string(). The
//     library copies it before the call returns.
//
//  3. Results belong to the `Query`. The range, its iterators and every `Result::path` are valid
//     until the query is destroyed, assigned to, or reset; moving the `Query` keeps them. Results
//     of a temporary `Query` do not compile.
//
//  4. Errors. Everything is noexcept. Failure is an empty object, `false`, or a state.
//
//  5. Static objects. A DLL keeps neither an `Engine` nor a `Query` in one: its destructor would
//     run under the loader's lock and wait there for a thread that needs that lock to end.
//
//     ss::Engine engine = ss::Engine::create();
//     if (!engine || !engine.start("C:/Users/ann")) return;
//     ...                                                  // search as soon as anything is indexed
//     ss::Query query = engine.search("report", {ss::Kind::kFile});
//     while (query.state() == ss::QueryState::kRunning) std::this_thread::sleep_for(1ms);
//     for (const ss::Result& result : query.results()) std::cout << result.path << '\n';
#ifndef SYSTEM_SEARCH_HPP
#define SYSTEM_SEARCH_HPP

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "system_search.h"

namespace ss {

/// A count of whole seconds since 1970-01-01 00:00:00 UTC; C++20 calls this type
/// std::chrono::sys_seconds.
using Time = std::chrono::time_point<std::chrono::system_clock, std::chrono::seconds>;

/// A parameter that is a NUL-terminated UTF-8 text. It refers to the text and does not own it.
class Text {
public:
    Text(const char* text) noexcept : text_(text) {}
    Text(const std::string& text) noexcept : text_(text.c_str()) {}
#ifdef __cpp_char8_t
    Text(const char8_t* text) noexcept : text_(reinterpret_cast<const char*>(text)) {}
#ifdef __cpp_lib_char8_t
    Text(const std::u8string& text) noexcept : Text(text.c_str()) {}
#endif
#endif

    const char* c_str() const noexcept { return text_; }

private:
    const char* text_;
};

enum class Kind : std::uint32_t {
    kAny = SS_KIND_ANY,  // as a filter only
    kFile = SS_KIND_FILE,
    kFolder = SS_KIND_FOLDER,
};

enum class Match : std::uint32_t {
    kName = 0,
    kPath = SS_MATCH_PATH,
    kCase = SS_MATCH_CASE,
    kPathAndCase = SS_MATCH_PATH | SS_MATCH_CASE,
};

constexpr Match operator|(Match a, Match b) noexcept {
    return static_cast<Match>(static_cast<std::uint32_t>(a) | static_cast<std::uint32_t>(b));
}
constexpr Match operator&(Match a, Match b) noexcept {
    return static_cast<Match>(static_cast<std::uint32_t>(a) & static_cast<std::uint32_t>(b));
}
constexpr Match& operator|=(Match& a, Match b) noexcept {
    return a = a | b;
}
constexpr Match& operator&=(Match& a, Match b) noexcept {
    return a = a & b;
}

/// What to hold of all that matches the text.
struct Filter {
    Kind kind = Kind::kAny;
    Match match = Match::kName;
    std::uint32_t limit = SS_MAX_RESULTS;
};

enum class EngineState : std::uint32_t {
    kIdle = SS_ENGINE_IDLE,
    kRunning = SS_ENGINE_RUNNING,
    kReady = SS_ENGINE_READY,
    kCancelled = SS_ENGINE_CANCELLED,
    kFailed = SS_ENGINE_FAILED,
};

enum class QueryState : std::uint32_t {
    kRunning = SS_QUERY_RUNNING,
    kDone = SS_QUERY_DONE,
    kCancelled = SS_QUERY_CANCELLED,  // never seen by a host
    kFailed = SS_QUERY_FAILED,
};

/// A build's progress: the record of ss_status, with types.
struct Progress {
    EngineState state = EngineState::kIdle;
    std::uint32_t entries = 0;
    std::uint32_t skipped = 0;
    bool limited = false;
    bool from_cache = false;
};

/// A query's outcome: the record of ss_query_poll, with types.
struct Outcome {
    QueryState state = QueryState::kRunning;
    std::uint32_t matched = 0;
    std::uint32_t count = 0;
    std::uint32_t index_entries = 0;
    bool index_incomplete = false;
};

/// One result of a query.
struct Result {
    std::string_view path;  // NUL-terminated as well: path.data() is a C string
    Kind kind = Kind::kFile;
    std::optional<std::uint64_t> size;  // in bytes
    std::optional<Time> modified;       // the last write
};

/// The results of a finished query: a range with random access that makes each Result when asked.
class Results {
public:
    class Iterator {
    public:
        using value_type = Result;
        using reference = Result;
        using difference_type = std::ptrdiff_t;
        using pointer = void;
        using iterator_category =
            std::input_iterator_tag;  // C++17's others demand a true reference
        using iterator_concept = std::random_access_iterator_tag;

        Iterator() noexcept = default;
        Iterator(SystemSearchQuery* query, std::uint32_t index) noexcept
            : query_(query), index_(index) {}

        Result operator*() const noexcept { return result(query_, index_); }
        Result operator[](difference_type offset) const noexcept { return *(*this + offset); }

        Iterator& operator+=(difference_type offset) noexcept {
            index_ = static_cast<std::uint32_t>(index_ + offset);
            return *this;
        }
        Iterator& operator-=(difference_type offset) noexcept { return *this += -offset; }
        Iterator& operator++() noexcept { return *this += 1; }
        Iterator& operator--() noexcept { return *this += -1; }
        Iterator operator++(int) noexcept { return std::exchange(*this, *this + 1); }
        Iterator operator--(int) noexcept { return std::exchange(*this, *this - 1); }

        friend Iterator operator+(Iterator at, difference_type offset) noexcept {
            return at += offset;
        }
        friend Iterator operator+(difference_type offset, Iterator at) noexcept {
            return at += offset;
        }
        friend Iterator operator-(Iterator at, difference_type offset) noexcept {
            return at -= offset;
        }
        friend difference_type operator-(const Iterator& a, const Iterator& b) noexcept {
            return static_cast<difference_type>(a.index_) - static_cast<difference_type>(b.index_);
        }
        friend bool operator==(const Iterator& a, const Iterator& b) noexcept {
            return a.index_ == b.index_;
        }
        friend bool operator!=(const Iterator& a, const Iterator& b) noexcept { return !(a == b); }
        friend bool operator<(const Iterator& a, const Iterator& b) noexcept {
            return a.index_ < b.index_;
        }
        friend bool operator>(const Iterator& a, const Iterator& b) noexcept { return b < a; }
        friend bool operator<=(const Iterator& a, const Iterator& b) noexcept { return !(b < a); }
        friend bool operator>=(const Iterator& a, const Iterator& b) noexcept { return !(a < b); }

    private:
        SystemSearchQuery* query_ = nullptr;
        std::uint32_t index_ = 0;
    };

    Results() noexcept = default;
    Results(SystemSearchQuery* query, std::uint32_t count) noexcept
        : query_(query), count_(count) {}

    Iterator begin() const noexcept { return {query_, 0}; }
    Iterator end() const noexcept { return {query_, count_}; }
    std::size_t size() const noexcept { return count_; }
    bool empty() const noexcept { return count_ == 0; }

    /// The result at a position below size(); an empty path at any other.
    Result operator[](std::size_t index) const noexcept {
        return index < count_ ? result(query_, static_cast<std::uint32_t>(index)) : Result{};
    }

private:
    static Result result(SystemSearchQuery* query, std::uint32_t index) noexcept {
        Result made;
        if (const char* path = ss_query_path(query, index)) made.path = path;
        made.kind = static_cast<Kind>(ss_query_kind(query, index));
        ResultMetadata metadata;
        if (ss_query_metadata(query, index, &metadata) != 0) {
            if ((metadata.flags & SS_METADATA_SIZE) != 0) made.size = metadata.size;
            if ((metadata.flags & SS_METADATA_MODIFIED) != 0) {
                made.modified = Time(std::chrono::seconds(metadata.modified));
            }
        }
        return made;
    }

    SystemSearchQuery* query_ = nullptr;
    std::uint32_t count_ = 0;
};

/// A running or finished search. Destroying it cancels it and waits for its thread.
class Query {
public:
    Query() noexcept = default;
    /// Takes over a handle of ss_query or ss_query_directory.
    explicit Query(SystemSearchQuery* handle) noexcept : handle_(handle) {}

    explicit operator bool() const noexcept { return handle_ != nullptr; }
    SystemSearchQuery* handle() const noexcept { return handle_.get(); }
    void reset() noexcept { handle_.reset(); }
    /// Gives the handle away: its new owner calls ss_query_destroy.
    [[nodiscard]] SystemSearchQuery* release() noexcept { return handle_.release(); }

    /// An empty query has failed, with nothing found: there is nothing to wait for.
    Outcome poll() const noexcept {
        Outcome outcome;
        outcome.state = QueryState::kFailed;
        if (handle_) {
            QueryStatus status;
            ss_query_poll(handle(), &status);
            outcome = {static_cast<QueryState>(status.state), status.matched, status.count,
                       status.index_entries, status.index_incomplete != 0};
        }
        return outcome;
    }
    QueryState state() const noexcept { return poll().state; }

    /// Empty until the query is done. Not of a temporary query: it would take the results with it.
    Results results() const& noexcept { return {handle(), poll().count}; }
    Results results() const&& = delete;

private:
    struct Destroy {
        void operator()(SystemSearchQuery* query) const noexcept { ss_query_destroy(query); }
    };
    std::unique_ptr<SystemSearchQuery, Destroy> handle_;
};

/// An index and the build that fills it. Destroying it cancels the build and waits for its thread.
class Engine {
public:
    Engine() noexcept = default;
    /// Takes over a handle of ss_create.
    explicit Engine(SystemSearchEngine* handle) noexcept : handle_(handle) {}

    /// An engine with an empty index; an empty object when memory is short.
    static Engine create() noexcept { return Engine(ss_create()); }

    explicit operator bool() const noexcept { return handle_ != nullptr; }
    SystemSearchEngine* handle() const noexcept { return handle_.get(); }
    void reset() noexcept { handle_.reset(); }
    /// Gives the handle away: its new owner calls ss_destroy.
    [[nodiscard]] SystemSearchEngine* release() noexcept { return handle_.release(); }

    /// Builds the index of `scope`, or of every local drive when it is "". `cache_path` as for
    /// ss_start: loaded instead of walking the disk if it can be, unless `force`, and saved after
    /// a walk. False when a build is running or none could be started.
    bool start(Text scope, Text cache_path = "", bool force = false) noexcept {
        return ss_start(handle(), scope.c_str(), cache_path.c_str(), force ? 1 : 0) != 0;
    }
    void cancel() noexcept { ss_cancel(handle()); }

    /// As ss_status: the call that first shows the end of a build holds its final counters.
    Progress progress() const noexcept {
        Progress progress;
        if (handle_) {
            EngineStatus status;
            ss_status(handle(), &status);
            progress = {static_cast<EngineState>(status.state), status.entries, status.skipped,
                        status.limited != 0, status.from_cache != 0};
        }
        return progress;
    }

    /// The last error, "" when there is none. The text is the calling thread's, until it asks
    /// again.
    const char* error() const noexcept { return ss_error(handle()); }

    /// Searches what is indexed now. The query is empty when the filter's limit is out of range or
    /// memory or a thread cannot be had; it lives on without the engine.
    Query search(Text text, const Filter& filter = {}) const noexcept {
        return Query(ss_query(handle(), text.c_str(), static_cast<std::uint32_t>(filter.match),
                              static_cast<std::uint32_t>(filter.kind),
                              static_cast<std::int32_t>(filter.limit)));
    }

private:
    struct Destroy {
        void operator()(SystemSearchEngine* engine) const noexcept { ss_destroy(engine); }
    };
    std::unique_ptr<SystemSearchEngine, Destroy> handle_;
};

/// Searches the immediate children of one folder, read from the disk now; needs no engine. The
/// query is empty for an empty folder text and for the reasons that leave Engine::search empty.
inline Query list_folder(Text folder, Text text = "", const Filter& filter = {}) noexcept {
    return Query(ss_query_directory(folder.c_str(), text.c_str(),
                                    static_cast<std::uint32_t>(filter.match),
                                    static_cast<std::uint32_t>(filter.kind), filter.limit));
}

}  // namespace ss

#endif  // SYSTEM_SEARCH_HPP
