#include "model/settings.hpp"

#include <algorithm>
#include <charconv>

namespace window {
namespace {

constexpr std::size_t kMaxRecent = 10;

std::string_view take_line(std::string_view& text) {
    const std::size_t end = text.find('\n');
    std::string_view line = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    return line;
}

/* Numbers with blanks between them; empty when there is anything else. */
std::vector<int> parse_numbers(std::string_view text) {
    std::vector<int> numbers;
    while (!text.empty()) {
        int number = 0;
        const char* end = text.data() + text.size();
        const auto [rest, error] = std::from_chars(text.data(), end, number);
        if (error != std::errc() || (rest != end && *rest != ' ')) return {};
        numbers.push_back(number);
        text.remove_prefix(static_cast<std::size_t>(rest - text.data()));
        if (!text.empty()) text.remove_prefix(1);
    }
    return numbers;
}

void parse_widths(std::string_view value, Settings& settings) {
    const std::vector<int> widths = parse_numbers(value);
    const auto is_sane = [](int width) { return width >= 20 && width <= 4000; };
    if (widths.size() == kColumnCount && std::all_of(widths.begin(), widths.end(), is_sane)) {
        std::copy(widths.begin(), widths.end(), settings.column_widths.begin());
    }
}

void parse_placement(std::string_view value, Settings& settings) {
    const std::vector<int> numbers = parse_numbers(value);
    if (numbers.size() != 6) return;
    const Box box{numbers[0], numbers[1], numbers[2], numbers[3]};
    constexpr int kFarthest = 100'000;  // beyond any desktop, and safe to add up
    const auto is_sane = [](int at) { return at > -kFarthest && at < kFarthest; };
    if (!std::all_of(numbers.begin(), numbers.begin() + 4, is_sane)) return;
    if (box.right <= box.left || box.bottom <= box.top) return;
    if (numbers[4] < 48 || numbers[4] > 960) return;
    settings.placement = Placement{box, numbers[4], numbers[5] == 1};
}

}  // namespace

Settings parse_settings(std::string_view text) {
    Settings settings;
    if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
    while (!text.empty()) {
        const std::string_view line = take_line(text);
        const std::size_t equals = line.find('=');
        if (equals == std::string_view::npos) continue;
        const std::string_view key = line.substr(0, equals);
        const std::string_view value = line.substr(equals + 1);
        if (key == "scope") {
            settings.scope = value;
        } else if (key == "recent") {
            if (!value.empty() && settings.recent.size() < kMaxRecent) {
                settings.recent.emplace_back(value);
            }
        } else if (key == "kind") {
            if (value == "files") settings.kind = ss::Kind::kFile;
            if (value == "folders") settings.kind = ss::Kind::kFolder;
        } else if (key == "match_case") {
            settings.match_case = value == "1";
        } else if (key == "whole_path") {
            settings.whole_path = value == "1";
        } else if (key == "columns") {
            parse_widths(value, settings);
        } else if (key == "window") {
            parse_placement(value, settings);
        }
    }
    return settings;
}

std::string format_settings(const Settings& settings) {
    std::string text = "scope=" + settings.scope + "\n";
    for (const std::string& folder : settings.recent) text += "recent=" + folder + "\n";
    const char* kind = settings.kind == ss::Kind::kFile     ? "files"
                       : settings.kind == ss::Kind::kFolder ? "folders"
                                                            : "any";
    text += std::string("kind=") + kind + "\n";
    text += std::string("match_case=") + (settings.match_case ? "1" : "0") + "\n";
    text += std::string("whole_path=") + (settings.whole_path ? "1" : "0") + "\n";
    text += "columns=";
    for (std::size_t i = 0; i < kColumnCount; ++i) {
        text += (i == 0 ? "" : " ") + std::to_string(settings.column_widths[i]);
    }
    text += "\n";
    if (settings.placement) {
        const auto& [box, dpi, maximized] = *settings.placement;
        text += "window=";
        for (int number : {box.left, box.top, box.right, box.bottom, dpi}) {
            text += std::to_string(number) + " ";
        }
        text += maximized ? "1\n" : "0\n";
    }
    return text;
}

void choose_scope(Settings& settings, const std::string& folder) {
    settings.scope = folder;
    if (folder.empty()) return;
    std::erase(settings.recent, folder);
    settings.recent.insert(settings.recent.begin(), folder);
    if (settings.recent.size() > kMaxRecent) settings.recent.resize(kMaxRecent);
}

}  // namespace window
