// How a path has to be spelled so that the system takes it as it is meant. Nothing here asks the
// system; windows.cpp puts these decisions before its calls.
//
// A plain path is read before it is used: "/" becomes "\", "." and ".." go, a component loses the
// dots and blanks at its end, and "nul" or "aux.txt" in any folder is a device. From 248 units on
// it is refused, unless machine and host allow more. The literal form is taken as it is, whatever
// its length and its components:
//
//     C:\docs\x.          \\?\C:\docs\x.
//     \\server\share\nul  \\?\UNC\server\share\nul
#pragma once

#include <cstddef>
#include <string_view>

namespace system_search::platform {

// Folders cannot be created from this length on, other calls fail a few units later.
inline constexpr std::size_t kLongPathUnits = 248;

constexpr bool is_long_path(std::u16string_view path) {
    return path.size() >= kLongPathUnits;
}

// "\\?\", "\\.\" or "\??\", in any separators where the system takes them so.
[[nodiscard]] bool has_device_prefix(std::u16string_view path) noexcept;

// Whether every component below the drive or share names what is written: none is empty (but one
// at the end may be), ends in a dot or a blank, or is a device's name.
[[nodiscard]] bool is_read_as_written(std::u16string_view path) noexcept;

// Whether the path is the root of a drive, a share or a volume, in whatever spelling: nothing but
// that, and at most a separator behind it (which a drive without a device prefix needs).
[[nodiscard]] bool is_volume_root(std::u16string_view path) noexcept;

// Whether the path has a literal form: it begins with a drive and a separator, with a server, or is
// a literal one already, in whatever separators. Other device prefixes and relative paths have
// none.
[[nodiscard]] bool has_literal_form(std::u16string_view path) noexcept;

// The most that a literal form has beyond the path's own units.
inline constexpr std::size_t kLiteralPrefixUnits = 6;

// Writes the literal form of a path that has one, and returns its units. `out` needs room for
// kLiteralPrefixUnits more than the path has. The components are written as they stand.
std::size_t write_literal_form(std::u16string_view path, char16_t* out) noexcept;

}  // namespace system_search::platform
