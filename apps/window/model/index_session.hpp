/* The index of one scope: loaded from its cache at once where there is one, then read anew by a
 * second engine, which takes the first one's place when it is ready. */
#pragma once

#include <system_search.hpp>

#include <ctime>
#include <functional>
#include <optional>
#include <string>

namespace window {

enum class IndexPhase {
    kLoading,  // the cache is being read; nothing is searchable yet
    kReading,  // the disk is being read, and what was found is searchable
    kReady,
    kStopped,
    kFailed,
};

/* What the user may want to know about the index. */
struct IndexReport {
    IndexPhase phase = IndexPhase::kLoading;
    std::uint32_t entries = 0;
    std::uint32_t skipped = 0;
    bool limited = false;
    std::string trouble;                 // of the index in use; kReady: its cache was not written
    std::optional<std::time_t> read_at;  // when the names were read; empty when nobody knows
    bool refreshing = false;             // the disk is being read behind the index in use
    std::uint32_t refreshed_entries = 0;
    bool once_more = false;       // it will be read again when the reading that goes on has ended
    std::string refresh_trouble;  // why reading it anew came to nothing

    friend bool operator==(const IndexReport&, const IndexReport&) = default;
};

class IndexSession {
public:
    /* Takes engines that are no longer needed: destroying one may wait for the disk. */
    using Discard = std::function<void(ss::Engine)>;

    /* `cached_at`: when the cache file was written, empty when there is none. An empty
       `cache_path` means no cache. */
    IndexSession(std::string scope, std::string cache_path, std::optional<std::time_t> cached_at,
                 Discard discard);
    ~IndexSession();
    IndexSession(const IndexSession&) = delete;
    IndexSession& operator=(const IndexSession&) = delete;

    /* Reads the disk anew; if that is going on already, once more when it has ended, because what
       has changed meanwhile may lie where it has been. */
    void refresh();

    /* Takes notice of what the builds have done. True when a search would now see other names. */
    bool tick(std::time_t now);

    const IndexReport& report() const { return report_; }
    const std::string& scope() const { return scope_; }
    const std::string& cache_path() const { return cache_path_; }

    /* The index to search; null only when memory is too short for any. */
    const ss::Engine& engine() const { return current_; }

private:
    bool is_being_read() const;
    void read_anew();
    void note_refresh(std::time_t now);
    void note_current(std::time_t now);

    const std::string scope_;
    const std::string cache_path_;
    const std::optional<std::time_t> cached_at_;
    const Discard discard_;
    ss::Engine current_;
    ss::Engine next_;  // empty unless the disk is being read behind the index in use
    bool refresh_due_ = true;
    IndexReport report_;
};

}  // namespace window
