/* Outcomes as JSON, one object to a line. docs/console.md describes the members for people. */
#pragma once

#include <system_search.h>

#include <string>
#include <string_view>

#include "model/answer.hpp"

namespace console {

/* The text between quotation marks, escaped. Bytes that are not UTF-8 become U+FFFD. */
std::string json_string(std::string_view text);

std::string answer_json(const Answer& answer);

/* `error` is ss_error's text, empty when there is none. */
std::string build_json(const EngineStatus& status, double milliseconds, std::string_view error);

}  // namespace console
