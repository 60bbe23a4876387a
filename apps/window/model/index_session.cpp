#include "model/index_session.hpp"

#include <utility>

namespace window {
namespace {

constexpr const char* kNoMemory = "There is not enough memory for an index.";
constexpr const char* kNoThread = "The index could not be started.";

std::string reason(const ss::Engine& engine) {
    const std::string text = engine.error();
    return text.empty() ? kNoThread : text;
}

}  // namespace

IndexSession::IndexSession(std::string scope, std::string cache_path,
                           std::optional<std::time_t> cached_at, Discard discard)
    : scope_(std::move(scope)),
      cache_path_(std::move(cache_path)),
      cached_at_(cached_at),
      discard_(std::move(discard)),
      current_(ss::Engine::create()) {
    report_.phase = cached_at_ ? IndexPhase::kLoading : IndexPhase::kReading;
    report_.read_at = cached_at_;
    if (!current_) {
        report_.phase = IndexPhase::kFailed;
        report_.trouble = kNoMemory;
    } else {
        current_.start(scope_, cache_path_);  // a failure shows in its state
    }
}

IndexSession::~IndexSession() {
    // Both stop at once; only then is either waited for.
    current_.cancel();
    next_.cancel();
    if (next_) discard_(std::move(next_));
    if (current_) discard_(std::move(current_));
}

bool IndexSession::is_being_read() const {
    return next_ || (current_ && current_.progress().state == ss::EngineState::kRunning);
}

void IndexSession::refresh() {
    if (!is_being_read()) {
        read_anew();
    } else if (report_.phase != IndexPhase::kLoading) {  // what is loaded is read anew anyway
        report_.once_more = true;
    }
}

void IndexSession::read_anew() {
    refresh_due_ = false;
    report_.once_more = false;
    report_.refresh_trouble.clear();
    next_ = ss::Engine::create();
    if (!next_) {
        report_.refresh_trouble = kNoMemory;
    } else if (!next_.start(scope_, cache_path_, /*force=*/true)) {
        report_.refresh_trouble = kNoThread;
        discard_(std::move(next_));
        next_ = ss::Engine();
    }
    report_.refreshing = static_cast<bool>(next_);
    report_.refreshed_entries = 0;
}

bool IndexSession::tick(std::time_t now) {
    const IndexReport before = report_;
    const SystemSearchEngine* searched = current_.handle();
    note_refresh(now);
    note_current(now);
    if (report_.phase == IndexPhase::kReady && refresh_due_) {
        const bool from_cache = current_.progress().from_cache;
        refresh_due_ = false;
        if (from_cache) read_anew();
    }
    if (report_.once_more && !is_being_read()) read_anew();
    return current_.handle() != searched || report_.entries != before.entries ||
           report_.phase != before.phase;
}

void IndexSession::note_refresh(std::time_t now) {
    if (!next_) return;
    const ss::Progress progress = next_.progress();
    report_.refreshed_entries = progress.entries;
    if (progress.state == ss::EngineState::kRunning) return;
    report_.refreshing = false;
    ss::Engine outdated = std::move(next_);
    next_ = ss::Engine();
    if (progress.state == ss::EngineState::kReady) {
        std::swap(current_, outdated);
        report_.read_at = now;
    } else {
        report_.refresh_trouble = reason(outdated);
    }
    if (outdated) discard_(std::move(outdated));
}

void IndexSession::note_current(std::time_t now) {
    if (!current_) return;
    const IndexPhase before = report_.phase;
    const ss::Progress progress = current_.progress();
    report_.entries = progress.entries;
    report_.skipped = progress.skipped;
    report_.limited = progress.limited;
    switch (progress.state) {
        case ss::EngineState::kIdle:
        case ss::EngineState::kRunning:
            // A cache that cannot be used is passed over silently, and the disk read instead.
            if (progress.entries > 0 && !progress.from_cache) report_.phase = IndexPhase::kReading;
            return;
        case ss::EngineState::kReady:
            report_.phase = IndexPhase::kReady;
            report_.trouble = current_.error();
            if (before != IndexPhase::kReady && !progress.from_cache) report_.read_at = now;
            return;
        case ss::EngineState::kCancelled:
            report_.phase = IndexPhase::kStopped;
            return;
        case ss::EngineState::kFailed:
            report_.phase = IndexPhase::kFailed;
            report_.trouble = reason(current_);
            return;
    }
}

}  // namespace window
