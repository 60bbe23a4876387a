#include "model/shell_paths.hpp"

#include <algorithm>
#include <cstddef>

#include "model/paths.hpp"

namespace window {
namespace {

constexpr std::size_t kMostUnits = 259;  // the system's MAX_PATH without its NUL

std::size_t utf16_units(std::string_view text) {
    std::size_t units = 0;
    for (char sign : text) {
        const auto byte = static_cast<unsigned char>(sign);
        const bool is_first_byte = (byte & 0xC0) != 0x80;
        if (is_first_byte) units += byte >= 0xF0 ? 2 : 1;
    }
    return units;
}

std::string lower_case(std::string_view text) {
    std::string lower(text);
    for (char& sign : lower) {
        if (sign >= 'A' && sign <= 'Z') sign = static_cast<char>(sign | 0x20);
    }
    return lower;
}

/* "nul", "con.txt", "COM1 .log": what counts is what comes before the first dot. */
bool is_device(std::string_view name) {
    std::string_view base = name.substr(0, name.find('.'));
    while (!base.empty() && base.back() == ' ') base.remove_suffix(1);
    const std::string lower = lower_case(base);
    for (const char* device : {"con", "prn", "aux", "nul", "conin$", "conout$"}) {
        if (lower == device) return true;
    }
    const bool is_port = lower.starts_with("com") || lower.starts_with("lpt");
    if (!is_port) return false;
    const std::string_view number = std::string_view(lower).substr(3);
    const bool is_digit = number.size() == 1 && number[0] >= '0' && number[0] <= '9';
    // The raised digits of Latin-1 count as well.
    return is_digit || number == "\xC2\xB9" || number == "\xC2\xB2" || number == "\xC2\xB3";
}

std::string quoted(std::string_view name) {
    return "\"" + std::string(name) + "\"";
}

std::string objection_to(std::string_view component) {
    if (component.ends_with('.') || component.ends_with(' ')) {
        return "other programs leave out the dot or blank at the end of " + quoted(component) + ".";
    }
    if (is_device(component)) {
        return "other programs take " + quoted(component) + " for a device.";
    }
    return "";
}

std::string objection_to_path(std::string_view path) {
    for (std::size_t start = 0; start < path.size();) {
        const std::size_t end = std::min(path.find('/', start), path.size());
        std::string objection = objection_to(path.substr(start, end - start));
        if (!objection.empty()) return objection;
        start = end + 1;
    }
    const std::size_t units = utf16_units(path);
    if (units <= kMostUnits) return "";
    return "its path has " + std::to_string(units) + " characters, and other programs take " +
           std::to_string(kMostUnits) + " at most.";
}

}  // namespace

std::string exact_path(std::string_view path) {
    std::string native = native_path(path);
    if (native.starts_with("\\\\?\\")) return native;
    if (native.starts_with("\\\\")) return "\\\\?\\UNC" + native.substr(1);
    return "\\\\?\\" + native;
}

std::string shell_refusal(std::string_view path) {
    const std::string objection = objection_to_path(path);
    if (objection.empty()) return "";
    return quoted(name_of(path)) + " cannot be passed on: " + objection;
}

}  // namespace window
