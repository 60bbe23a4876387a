#include "model/paths.hpp"

#include <algorithm>
#include <cstdint>

namespace window {

std::string_view name_of(std::string_view path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string_view::npos ? path : path.substr(slash + 1);
}

std::string_view folder_of(std::string_view path) {
    const std::size_t slash = path.rfind('/');
    if (slash == std::string_view::npos) return {};
    const bool in_root = slash == 2 && path[1] == ':';
    return path.substr(0, in_root ? slash + 1 : slash);
}

std::string_view extension_of(std::string_view name) {
    const std::size_t dot = name.rfind('.');
    return dot == std::string_view::npos ? std::string_view{} : name.substr(dot);
}

std::string native_path(std::string_view path) {
    std::string native(path);
    std::replace(native.begin(), native.end(), '/', '\\');
    return native;
}

std::string query_text(std::string_view typed) {
    std::string text(typed);
    std::replace(text.begin(), text.end(), '\\', '/');
    return text;
}

std::string normal_scope(std::string_view folder) {
    std::string scope = query_text(folder);
    const bool has_drive = scope.size() >= 2 && scope[1] == ':';
    if (has_drive && scope[0] >= 'a' && scope[0] <= 'z') {
        scope[0] = static_cast<char>(scope[0] - 'a' + 'A');
    }
    const std::size_t root = has_drive ? 3 : 2;  // "C:/" and "//" keep theirs
    while (scope.size() > root && scope.back() == '/') scope.pop_back();
    return scope;
}

std::string cache_file_name(std::string_view scope) {
    if (scope.empty()) return "all-drives.index";
    std::string readable;
    for (char sign : scope) {
        const bool is_capital = sign >= 'A' && sign <= 'Z';
        const char small = is_capital ? static_cast<char>(sign - 'A' + 'a') : sign;
        const bool is_plain = (small >= 'a' && small <= 'z') || (small >= '0' && small <= '9');
        if (is_plain) {
            readable += small;
        } else if (!readable.empty() && readable.back() != '-') {
            readable += '-';
        }
        if (readable.size() == 40) break;
    }
    std::uint64_t hash = 0xCBF29CE484222325u;  // FNV-1a
    for (char sign : scope) {
        hash = (hash ^ static_cast<unsigned char>(sign)) * 0x100000001B3u;
    }
    if (!readable.empty() && readable.back() != '-') readable += '-';
    for (int shift = 60; shift >= 0; shift -= 4)
        readable += "0123456789abcdef"[hash >> shift & 0xF];
    return readable + ".index";
}

std::string scope_label(std::string_view scope) {
    return scope.empty() ? "All local drives" : native_path(scope);
}

}  // namespace window
