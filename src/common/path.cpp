#include "common/path.hpp"

#include <cstddef>

namespace system_search {
namespace {

template <typename Char>
constexpr bool is_separator(Char unit) {
    return unit == Char('\\') || unit == Char('/');
}

template <typename Char>
constexpr bool has_drive(std::basic_string_view<Char> path) {
    return path.size() >= 2 && path[1] == Char(':') &&
           ((path[0] >= Char('A') && path[0] <= Char('Z')) ||
            (path[0] >= Char('a') && path[0] <= Char('z')));
}

// "\??\", and then the end or a name.
template <typename Char>
constexpr bool has_object_prefix(std::basic_string_view<Char> path) {
    return path.size() >= 4 && is_separator(path[0]) && path[1] == Char('?') &&
           path[2] == Char('?') && is_separator(path[3]) &&
           (path.size() == 4 || !is_separator(path[4]));
}

// The device prefixes "\\?" and "\\." are servers of that name, as far as a path's text goes.
template <typename Char>
constexpr bool has_server(std::basic_string_view<Char> path) {
    return path.size() >= 3 && is_separator(path[0]) && is_separator(path[1]) &&
           !is_separator(path[2]);
}

template <typename Char>
constexpr bool is_absolute(std::basic_string_view<Char> path) {
    if (has_drive(path)) return path.size() >= 3 && is_separator(path[2]);
    return has_server(path) || has_object_prefix(path);
}

std::size_t find_separator(std::u16string_view path, std::size_t from) noexcept {
    while (from < path.size() && !is_separator(path[from])) ++from;
    return from;
}

std::size_t skip_separators(std::u16string_view path, std::size_t from) noexcept {
    while (from < path.size() && is_separator(path[from])) ++from;
    return from;
}

std::size_t root_name_units(std::u16string_view path) noexcept {
    if (has_drive(path)) return 2;
    if (has_object_prefix(path)) return 3;
    if (has_server(path)) return find_separator(path, 2);
    return 0;
}

}  // namespace

bool is_absolute_path(std::u16string_view path) noexcept {
    return is_absolute(path);
}

bool is_absolute_path(std::string_view utf8_path) noexcept {
    return is_absolute(utf8_path);
}

std::u16string lexically_normal(std::u16string_view path) {
    std::u16string normal;
    normal.reserve(path.size());

    const std::size_t root_name = root_name_units(path);
    for (const char16_t unit : path.substr(0, root_name)) {
        normal += is_separator(unit) ? u'\\' : unit;
    }
    std::size_t at = skip_separators(path, root_name);
    const bool has_root_directory = at != root_name;
    if (has_root_directory) normal += u'\\';

    // What lies before `kept` can no longer be removed: the root, and leading ".." names. At the
    // top of the loop `normal` holds the root, then names with a separator behind each.
    const std::size_t root = normal.size();
    std::size_t kept = root;
    while (at < path.size()) {
        const std::size_t end = find_separator(path, at);
        const std::u16string_view name = path.substr(at, end - at);
        at = skip_separators(path, end);

        if (name == u".") continue;
        if (name == u".." && normal.size() != kept) {
            normal.pop_back();
            while (normal.size() != kept && normal.back() != u'\\') normal.pop_back();
            continue;
        }
        if (name == u".." && has_root_directory) continue;
        normal += name;
        if (end != path.size()) normal += u'\\';
        if (name == u"..") kept = normal.size();
    }

    const bool ends_in_dot_dot = normal.size() == kept && kept != root;
    if (ends_in_dot_dot && normal.back() == u'\\') normal.pop_back();
    if (normal.empty() && !path.empty()) normal += u'.';
    return normal;
}

std::u16string_view parent_path(std::u16string_view path) noexcept {
    const std::size_t root = skip_separators(path, root_name_units(path));
    std::size_t end = path.size();
    while (end > root && !is_separator(path[end - 1])) --end;
    while (end > root && is_separator(path[end - 1])) --end;
    return path.substr(0, end);
}

bool is_device_path(std::u16string_view path) noexcept {
    const bool has_prefix = root_name_units(path) == 3 && (path[2] == u'?' || path[2] == u'.');
    return has_prefix && path.size() > 4 && find_separator(path, 4) == path.size();
}

void append_component(std::u16string& path, std::u16string_view name) {
    const bool is_bare_drive = path.size() == 2 && has_drive(std::u16string_view(path));
    const bool needs_separator = !path.empty() && !is_bare_drive && !is_separator(path.back());
    // Reserving first leaves the path as it was when memory runs out.
    path.reserve(path.size() + name.size() + 1);
    if (needs_separator) path += u'\\';
    path += name;
}

}  // namespace system_search
