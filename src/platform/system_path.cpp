#include "platform/system_path.hpp"

#include <algorithm>
#include <initializer_list>

namespace system_search::platform {
namespace {

constexpr bool is_separator(char16_t unit) {
    return unit == u'\\' || unit == u'/';
}

constexpr bool is_letter(char16_t unit) {
    return (unit >= u'A' && unit <= u'Z') || (unit >= u'a' && unit <= u'z');
}

constexpr bool has_drive_root(std::u16string_view path) {
    return path.size() >= 3 && is_letter(path[0]) && path[1] == u':' && is_separator(path[2]);
}

constexpr bool has_two_separators(std::u16string_view path) {
    return path.size() >= 3 && is_separator(path[0]) && is_separator(path[1]) &&
           !is_separator(path[2]);
}

constexpr bool has_prefix_of(std::u16string_view path, char16_t mark) {
    return has_two_separators(path) && path[2] == mark && path.size() >= 4 && is_separator(path[3]);
}

std::size_t end_of_component(std::u16string_view path, std::size_t from) {
    while (from < path.size() && !is_separator(path[from])) ++from;
    return from;
}

// Where the components begin: behind the drive's separator, or behind the share and its separator.
std::size_t root_units(std::u16string_view path) {
    std::size_t at = 0;
    std::size_t names = 0;
    if (has_prefix_of(path, u'?') || has_prefix_of(path, u'.')) {
        at = 4;
        names = 1;
    } else if (has_two_separators(path)) {
        at = 2;
        names = 2;
    } else {
        return has_drive_root(path) ? 3 : 0;
    }
    for (; names > 0 && at < path.size(); --names) at = end_of_component(path, at) + 1;
    return std::min(at, path.size());
}

constexpr char16_t lower(char16_t unit) {
    return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + 32) : unit;
}

bool equals_folded(std::u16string_view text, std::u16string_view lower_text) {
    return std::equal(text.begin(), text.end(), lower_text.begin(), lower_text.end(),
                      [](char16_t a, char16_t b) { return lower(a) == b; });
}

// 1 to 9, and the three raised digits of Latin-1.
constexpr bool is_port_digit(char16_t unit) {
    return (unit >= u'1' && unit <= u'9') || unit == u'\u00B9' || unit == u'\u00B2' ||
           unit == u'\u00B3';
}

// With any extension, and blanks before that.
bool is_device_name(std::u16string_view component) {
    std::u16string_view name = component.substr(0, component.find_first_of(u".:"));
    while (name.ends_with(u' ')) name.remove_suffix(1);
    if (name.size() == 4 && is_port_digit(name[3])) {
        return equals_folded(name.substr(0, 3), u"com") || equals_folded(name.substr(0, 3), u"lpt");
    }
    for (const std::u16string_view device : {u"con", u"prn", u"aux", u"nul"}) {
        if (equals_folded(name, device)) return true;
    }
    return equals_folded(name, u"conin$") || equals_folded(name, u"conout$");
}

// "C:" or "Volume{...}", as they stand behind a device prefix.
bool is_volume_name(std::u16string_view name) {
    if (name.size() == 2) return is_letter(name[0]) && name[1] == u':';
    constexpr std::u16string_view kGuid = u"volume{";
    return name.size() > kGuid.size() && equals_folded(name.substr(0, kGuid.size()), kGuid) &&
           name.ends_with(u'}');
}

// Where `names` components from `at` on end, with the separator behind them; npos when there are
// not so many.
std::size_t end_of_names(std::u16string_view path, std::size_t at, int names) {
    for (; names > 0; --names) {
        const std::size_t end = end_of_component(path, at);
        if (end <= at) return path.npos;
        at = end + 1;
    }
    return at;
}

}  // namespace

bool has_device_prefix(std::u16string_view path) noexcept {
    return has_prefix_of(path, u'?') || has_prefix_of(path, u'.') || path.starts_with(u"\\??\\");
}

bool is_read_as_written(std::u16string_view path) noexcept {
    for (std::size_t at = root_units(path); at < path.size();) {
        const std::size_t end = end_of_component(path, at);
        const std::u16string_view component = path.substr(at, end - at);
        if (component.empty() || component.ends_with(u'.') || component.ends_with(u' ') ||
            is_device_name(component)) {
            return false;
        }
        at = end + 1;
    }
    return true;
}

bool is_volume_root(std::u16string_view path) noexcept {
    std::size_t end = path.npos;
    if (has_device_prefix(path)) {
        const std::u16string_view first = path.substr(4, end_of_component(path, 4) - 4);
        if (equals_folded(first, u"unc")) {
            end = end_of_names(path, 4, 3);
        } else if (is_volume_name(first)) {
            end = end_of_names(path, 4, 1);
        }
    } else if (has_two_separators(path)) {
        end = end_of_names(path, 2, 2);
    } else if (has_drive_root(path)) {
        end = 3;
    }
    return end != path.npos && end >= path.size();
}

bool has_literal_form(std::u16string_view path) noexcept {
    return has_drive_root(path) || (has_two_separators(path) && !has_prefix_of(path, u'.'));
}

std::size_t write_literal_form(std::u16string_view path, char16_t* out) noexcept {
    std::u16string_view prefix = u"\\\\?\\";
    if (has_prefix_of(path, u'?')) {
        path.remove_prefix(4);
    } else if (has_two_separators(path)) {
        prefix = u"\\\\?\\UNC\\";
        path.remove_prefix(2);
    }
    char16_t* at = std::copy(prefix.begin(), prefix.end(), out);
    at = std::replace_copy(path.begin(), path.end(), at, u'/', u'\\');
    return static_cast<std::size_t>(at - out);
}

}  // namespace system_search::platform
