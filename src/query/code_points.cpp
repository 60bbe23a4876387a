#include "query/code_points.hpp"

#include "query/segment.hpp"

namespace system_search {
namespace {

constexpr std::size_t kNone = std::string_view::npos;

// Tries one place after the other until `is_wanted` takes where the segment ends; returns that.
template <typename IsWanted>
std::size_t try_places(std::string_view segment, std::string_view text, std::size_t from,
                       const std::atomic<bool>& cancel, IsWanted is_wanted) {
    for (std::size_t at = from; !cancel; ++at) {
        at = text.find(segment.front(), at);
        if (at == kNone) return kNone;
        if (at != from && is_continuation(text[at])) continue;
        const std::size_t end = end_of_segment(segment, text, at);
        if (is_wanted(end)) return end;
    }
    return kNone;
}

}  // namespace

std::size_t end_of_segment(std::string_view segment, std::string_view text, std::size_t from) {
    std::size_t at = from;
    for (const char wanted : segment) {
        if (at == text.size()) return kNone;
        if (wanted != kMark && wanted != text[at]) return kNone;
        ++at;
        if (wanted != kMark) continue;
        while (at < text.size() && is_continuation(text[at])) ++at;
    }
    return at;
}

std::size_t find_segment_end(std::string_view segment, std::string_view text, std::size_t from,
                             const std::atomic<bool>& cancel) {
    return try_places(segment, text, from, cancel, [](std::size_t end) { return end != kNone; });
}

bool ends_with_segment(std::string_view segment, std::string_view text, std::size_t from,
                       const std::atomic<bool>& cancel) {
    return try_places(segment, text, from, cancel,
                      [&](std::size_t end) { return end == text.size(); }) != kNone;
}

}  // namespace system_search
