// From the text of a path to its root and names.
#include "simulated/tree.hpp"

namespace system_search::simulated {
namespace {

bool is_separator(char16_t unit) {
    return unit == u'\\' || unit == u'/';
}

bool is_letter(char16_t unit) {
    return (unit >= u'A' && unit <= u'Z') || (unit >= u'a' && unit <= u'z');
}

bool has_drive(std::u16string_view path, std::size_t at) {
    return path.size() >= at + 2 && is_letter(path[at]) && path[at + 1] == u':';
}

std::size_t end_of_name(std::u16string_view path, std::size_t at) {
    while (at < path.size() && !is_separator(path[at])) ++at;
    return at;
}

// \\?\ and \\.\ in either separator, and \??\.
bool has_device_prefix(std::u16string_view path) {
    if (path.size() < 4 || !is_separator(path[3])) return false;
    if (is_separator(path[0]) && is_separator(path[1])) return path[2] == u'?' || path[2] == u'.';
    return path[0] == u'\\' && path[1] == u'?' && path[2] == u'?';
}

// server\share from `at` on.
std::size_t end_of_share(std::u16string_view path, std::size_t at) {
    const std::size_t server_end = end_of_name(path, at);
    if (server_end == at || server_end == path.size()) return 0;
    const std::size_t share_end = end_of_name(path, server_end + 1);
    return share_end == server_end + 1 ? 0 : share_end;
}

// Where the names begin; 0 when the path has no root or a wrong one.
std::size_t parse_root(std::u16string_view path, ParsedPath& out) {
    std::size_t begin = 0;
    std::size_t end = 0;
    if (has_device_prefix(path)) {
        begin = 4;
        if (NameEqual{}(path.substr(4, 4), u"UNC\\")) {
            begin = 8;
            out.is_share = true;
            end = end_of_share(path, begin);
        } else {
            end = end_of_name(path, begin);
        }
    } else if (path.size() >= 2 && is_separator(path[0]) && is_separator(path[1])) {
        begin = 2;
        out.is_share = true;
        end = end_of_share(path, begin);
    } else if (has_drive(path, 0)) {
        end = 2;
    }
    if (end <= begin) {
        out.error = platform::kBadPathName;
        return 0;
    }
    out.root = path.substr(begin, end - begin);
    out.prefix = path.substr(0, end);
    return end;
}

// A path that the current folder completes: "name", "\name" or "C:name".
std::u16string complete(std::u16string_view path, std::u16string_view current_folder) {
    ParsedPath current;
    parse(current_folder, u"C:\\", current);
    if (is_separator(path[0])) return std::u16string(current.prefix).append(path);
    if (!has_drive(path, 0)) return std::u16string(current_folder).append(u"\\").append(path);
    const std::u16string_view drive = path.substr(0, 2);
    const bool same_drive = NameEqual{}(drive, current.root);
    std::u16string whole(same_drive ? current_folder : drive);
    return whole.append(u"\\").append(path.substr(2));
}

bool is_relative(std::u16string_view path) {
    if (has_device_prefix(path)) return false;
    if (is_separator(path[0])) return path.size() < 2 || !is_separator(path[1]);
    return !has_drive(path, 0) || path.size() == 2 || !is_separator(path[2]);
}

}  // namespace

void parse(std::u16string_view path, std::u16string_view current_folder, ParsedPath& out) {
    if (path.empty()) {
        out.error = platform::kPathNotFound;
        return;
    }
    if (is_relative(path)) {
        out.made_absolute = complete(path, current_folder);
        path = out.made_absolute;
    }
    std::size_t at = parse_root(path, out);
    if (at == 0) return;
    const bool literal = path.starts_with(u"\\\\?\\") || path.starts_with(u"\\??\\");
    out.names.reserve(16);
    while (at < path.size()) {
        if (is_separator(path[at])) {
            if (literal && path[at] == u'/') out.error = platform::kInvalidName;
            out.ends_with_separator = true;
            ++at;
            continue;
        }
        const std::size_t end = end_of_name(path, at);
        const std::u16string_view name = path.substr(at, end - at);
        at = end;
        out.ends_with_separator = false;
        if (name == u"." || name == u"..") {
            if (literal) out.error = platform::kInvalidName;
            if (name.size() == 2 && !out.names.empty()) out.names.pop_back();
        } else {
            out.names.push_back(name);
        }
    }
}

bool is_valid_name(std::u16string_view name) {
    if (name.size() > 255) return false;
    for (const char16_t unit : name) {
        if (unit < 0x20 ||
            std::u16string_view(u"<>:\"|?*").find(unit) != std::u16string_view::npos) {
            return false;
        }
    }
    return true;
}

}  // namespace system_search::simulated

namespace system_search::platform {

// Every component counts as it is written here, whoever names it.
std::u16string as_system_reads(const std::u16string& folder) {
    return folder;
}

}  // namespace system_search::platform
