// Paths: what must hold of every normal form and parent, whatever the path.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "common/path.hpp"

using namespace system_search;

namespace {

void check(bool holds) {
    if (!holds) std::abort();
}

bool is_separator(char16_t unit) {
    return unit == u'\\' || unit == u'/';
}

// Where the names begin, found by what a root is rather than by how the code looks for it: the
// shortest leading part that is its own parent, up to which no shorter parent exists.
std::size_t root_units(std::u16string_view path) {
    for (;;) {
        const std::u16string_view parent = parent_path(path);
        if (parent.size() == path.size()) return path.size();
        check(parent.size() < path.size());
        path = parent;
    }
}

std::vector<std::u16string_view> names_in(std::u16string_view text) {
    std::vector<std::u16string_view> names;
    std::size_t at = 0;
    while (at < text.size()) {
        std::size_t end = at;
        while (end < text.size() && !is_separator(text[end])) ++end;
        if (end != at) names.push_back(text.substr(at, end - at));
        at = end + 1;
    }
    return names;
}

// The rules as they are told, a name at a time on a list of names.
std::vector<std::u16string_view> plain_normal(const std::vector<std::u16string_view>& names,
                                              bool rooted) {
    std::vector<std::u16string_view> kept;
    for (const std::u16string_view name : names) {
        if (name == u".") continue;
        if (name != u"..") {
            kept.push_back(name);
        } else if (!kept.empty() && kept.back() != u"..") {
            kept.pop_back();
        } else if (!rooted) {
            kept.push_back(name);
        }
    }
    return kept;
}

void check_path(const std::u16string& path) {
    const std::size_t root = root_units(path);
    const bool rooted = root != 0 && is_separator(path[root - 1]);
    const std::u16string normal = lexically_normal(path);

    check(normal.size() <= path.size() || (normal == u"." && !path.empty()));
    check(normal.empty() == path.empty());
    check(normal.find(u'/') == normal.npos);
    check(normal.find(u"\\\\", 1) == normal.npos);

    std::u16string expected;
    for (std::size_t i = 0; i < root; ++i) {
        const char16_t unit = is_separator(path[i]) ? u'\\' : path[i];
        // Two separators in front belong to the name of a server or a device.
        const bool repeats = i != 0 && unit == u'\\' && expected.back() == u'\\';
        const bool names_server = i == 1 && is_absolute_path(path);
        if (!repeats || names_server) expected += unit;
    }
    const auto kept = plain_normal(names_in(std::u16string_view(path).substr(root)), rooted);
    for (std::size_t i = 0; i < kept.size(); ++i) {
        if (i != 0) expected += u'\\';
        expected += kept[i];
    }
    if (expected.empty() && !path.empty()) expected = u".";
    const bool trailing = normal.size() == expected.size() + 1 && normal.back() == u'\\';
    check(normal == expected || (trailing && normal.substr(0, expected.size()) == expected));
    if (trailing) check(!kept.empty() && kept.back() != u"..");

    if (!is_absolute_path(path)) return;
    check(is_absolute_path(normal));
    check(lexically_normal(normal) == normal);
    for (const std::u16string_view name : kept) check(name != u"." && name != u"..");

    std::u16string child = normal;
    append_component(child, u"x");
    check(lexically_normal(child) == child);
    std::u16string joined = path;
    append_component(joined, u"x");
    check(lexically_normal(joined) == child);
    // The parent is the folder again, but for the separator at its end: a server alone gets one
    // from joining, and the parent leaves out one that does not belong to the root.
    const std::u16string_view parent = parent_path(child);
    check(parent == normal || parent == normal + u'\\' || std::u16string(parent) + u'\\' == normal);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // Each byte is a unit, which spends no input on what the rules do not look at; the bytes of a
    // separator with another high byte must not be taken for one.
    std::u16string path;
    std::string narrow;
    for (std::size_t i = 0; i < size; ++i) {
        narrow += static_cast<char>(data[i] & 0x7F);
        path += data[i];
    }
    check_path(path);
    for (char16_t& unit : path) {
        if (unit >= 0x80) unit = static_cast<char16_t>(unit + 0x80);  // 0x01xx
    }
    check_path(path);

    const std::u16string wide(narrow.begin(), narrow.end());
    check(is_absolute_path(wide) == is_absolute_path(narrow));
    return 0;
}
