/* What the window remembers between runs, and the text that it is kept as. */
#pragma once

#include <system_search.hpp>

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "model/placement.hpp"

namespace window {

inline constexpr std::size_t kColumnCount = 4;

struct Settings {
    std::string scope;                // "" for all local drives
    std::vector<std::string> recent;  // folders, the last one first
    ss::Kind kind = ss::Kind::kAny;
    bool match_case = false;
    bool whole_path = false;
    std::array<int, kColumnCount> column_widths{260, 320, 90, 140};  // at 96 dots per inch
    std::optional<Placement> placement;

    friend bool operator==(const Settings&, const Settings&) = default;
};

/* Lines of "key=value". What is missing, unknown or damaged keeps its default: settings are never
   worth an error. */
Settings parse_settings(std::string_view text);
std::string format_settings(const Settings& settings);

/* Makes `folder` the scope and the first of the last ones; ten are remembered. */
void choose_scope(Settings& settings, const std::string& folder);

}  // namespace window
