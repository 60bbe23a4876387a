#include "model/sentences.hpp"

#include <cmath>

#include "model/numbers.hpp"
#include "model/utf8.hpp"

namespace console {
namespace {

std::string entries_text(const EngineStatus& status) {
    return format_counted(status.entries, "entry", "entries");
}

std::string skipped_text(const EngineStatus& status) {
    return format_count(status.skipped) + " skipped";
}

std::string rate_text(const EngineStatus& status, double seconds) {
    const double rate = seconds > 0 ? status.entries / seconds : 0;
    return format_count(static_cast<std::uint64_t>(std::llround(rate))) + " entries/s";
}

constexpr const char* kLimitReached =
    "it stopped at its size limit (5,000,000 entries or 1 GiB of memory)";

}  // namespace

std::string progress_text(const EngineStatus& status, double seconds) {
    return entries_text(status) + ", " + skipped_text(status) + ", " + format_seconds(seconds) +
           ", " + rate_text(status, seconds);
}

std::string build_summary(const EngineStatus& status, double milliseconds) {
    const double seconds = milliseconds / 1000;
    if (status.state == SS_ENGINE_CANCELLED) {
        return "Cancelled after " + format_seconds(seconds) + ": " + entries_text(status) + ", " +
               skipped_text(status) + ".";
    }
    std::string text;
    if (status.from_cache) {
        text = "Loaded " + entries_text(status) + " from the cache in " +
               format_milliseconds(milliseconds) + ", " + skipped_text(status) +
               " when it was made.";
    } else {
        text = "Indexed " + entries_text(status) + " in " + format_seconds(seconds) + " (" +
               rate_text(status, seconds) + "), " + skipped_text(status) + ".";
    }
    if (status.limited) text += std::string(" The index is not the whole: ") + kLimitReached + '.';
    return text;
}

std::string incomplete_reason(const EngineStatus& status) {
    if (status.state == SS_ENGINE_RUNNING) {
        return "it is still being built, " + entries_text(status) + " so far";
    }
    if (status.limited) return kLimitReached;
    if (status.state == SS_ENGINE_CANCELLED) return "its making was cancelled";
    if (status.state == SS_ENGINE_FAILED) return "its making failed";
    return {};
}

std::string build_trouble(const EngineStatus& status, std::string_view folder,
                          std::string_view cache, std::string_view error) {
    const auto quoted = [](std::string_view text) { return '"' + without_controls(text) + '"'; };
    if (status.state == SS_ENGINE_READY) {
        return std::string(error) + " (" + without_controls(cache) + ")";
    }
    const std::string scope = folder.empty() ? "all local drives" : quoted(folder);
    const std::string reason = error.empty() ? "No reason is known." : without_controls(error);
    return "Cannot index " + scope + ": " + reason;
}

}  // namespace console
