// Windows paths as text: the absolute-path rule, the normal form, the parent and joining.
//
// Nothing here asks the file system. '/' and '\' both separate. A path is
//
//     root name, root directory, names        C:  \  Users\ann
//
// with each part optional. The root name is a drive ("C:"), a server ("\\server") or a device
// prefix ("\\?", "\\.", "\??"); the root directory is the run of separators that follows. So the
// share of "\\server\share" is an ordinary name, and ".." removes it like any other.
//
// All functions are pure and may run on any thread.
#pragma once

#include <string>
#include <string_view>

namespace system_search {

// A drive with a separator after its colon, or any other root name. Not absolute: "C:", "C:x",
// "\x" and "x". The rule looks at ASCII only, so it is the same for both encodings.
[[nodiscard]] bool is_absolute_path(std::u16string_view path) noexcept;
[[nodiscard]] bool is_absolute_path(std::string_view utf8_path) noexcept;

// Separators become single backslashes, "." goes, a name goes together with the ".." after it, and
// ".." right after the root directory goes. A path that named a folder by a trailing separator,
// "." or ".." ends in a separator ("C:\a\." is "C:\a\"), unless nothing but ".." is left; what
// becomes empty is ".", and only the empty path stays empty. Throws std::bad_alloc only.
[[nodiscard]] std::u16string lexically_normal(std::u16string_view path);

// The path without its last name and the separators before it; the root always stays. A trailing
// separator counts as an empty last name: the parent of "C:\a\" is "C:\a".
[[nodiscard]] std::u16string_view parent_path(std::u16string_view path) noexcept;

// A device prefix and one name ("\\?\C:"). The system takes that for the device; its root folder is
// what a separator behind it makes of it.
[[nodiscard]] bool is_device_path(std::u16string_view path) noexcept;

// Appends one name, with a backslash before it unless the path is empty, ends in a separator, or is
// a bare drive, which a name makes drive-relative ("C:" and "x" give "C:x").
void append_component(std::u16string& path, std::u16string_view name);

}  // namespace system_search
