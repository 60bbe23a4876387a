/* The system's words about an error, made fit to be shown. */
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace window {

/* In the system's texts "%1" stands for a name that only the caller knows: "%1 is not a valid Win32
   application." Without the line breaks that such a text ends with. */
std::string error_words(std::string_view system_text, std::string_view name);

/* No program is set for files of this kind: the user is asked which to take, as in a file window.
 */
bool wants_a_program(std::uint32_t error);

}  // namespace window
