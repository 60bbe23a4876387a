#include "model/table.hpp"

#include <algorithm>
#include <array>
#include <vector>

#include "model/utf8.hpp"

namespace console {
namespace {

constexpr std::size_t kColumns = 4;
constexpr std::size_t kSizeColumn = 2;
using Row = std::array<std::string, kColumns>;

std::string size_text(const Result& result) {
    return result.metadata.flags & SS_METADATA_SIZE ? format_size(result.metadata.size) : "-";
}

std::string time_text(const Result& result, LocalTime local_time) {
    WallTime local;
    const bool known = result.metadata.flags & SS_METADATA_MODIFIED;
    return known && local_time(result.metadata.modified, local) ? format_time(local) : "-";
}

std::vector<Row> make_rows(const Answer& answer, LocalTime local_time) {
    std::vector<Row> rows = {{"Path", "Kind", "Size", "Modified"}};
    for (const Result& result : answer.results) {
        rows.push_back({without_controls(result.path),
                        result.kind == SS_KIND_FOLDER ? "folder" : "file", size_text(result),
                        time_text(result, local_time)});
    }
    return rows;
}

std::array<std::size_t, kColumns> measure(const std::vector<Row>& rows, std::size_t columns) {
    std::array<std::size_t, kColumns> widths = {};
    for (const Row& row : rows) {
        for (std::size_t i = 0; i < kColumns; ++i) {
            widths[i] = std::max(widths[i], count_code_points(row[i]));
        }
    }
    if (columns != 0) {
        const std::size_t others = widths[1] + widths[2] + widths[3] + 2 * (kColumns - 1);
        // A row as wide as the terminal would leave an empty line behind it.
        const std::size_t room = columns > others + 1 ? columns - others - 1 : 0;
        widths[0] = std::min(widths[0], std::max<std::size_t>(room, 20));
    }
    return widths;
}

}  // namespace

std::string format_table(const Answer& answer, LocalTime local_time, std::size_t columns) {
    if (answer.results.empty()) return {};
    const std::vector<Row> rows = make_rows(answer, local_time);
    const std::array<std::size_t, kColumns> widths = measure(rows, columns);
    std::string text;
    for (const Row& row : rows) {
        for (std::size_t i = 0; i < kColumns; ++i) {
            const std::size_t width = count_code_points(row[i]);
            const std::size_t padding = widths[i] > width ? widths[i] - width : 0;
            const bool align_right = i == kSizeColumn;
            if (i != 0) text += "  ";
            if (align_right) text.append(padding, ' ');
            text += row[i];
            if (!align_right && i + 1 < kColumns) text.append(padding, ' ');
        }
        text += '\n';
    }
    return text;
}

std::string format_summary(const Answer& answer) {
    const QueryStatus& status = answer.status;
    std::string text;
    if (status.matched == 0) {
        text = "No matches";
    } else {
        if (status.count < status.matched) text = format_count(status.count) + " of ";
        text += format_counted(status.matched, "match", "matches");
    }
    return text + ", " + format_milliseconds(answer.milliseconds);
}

}  // namespace console
