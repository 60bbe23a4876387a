/* Prints a query's answer in the format that the request asks for. */
#pragma once

#include <string_view>

#include "commands.hpp"
#include "model/answer.hpp"

namespace console {

/* `incomplete` says why the searched set was not the whole; "" when it was, or no reason is
   known. */
void report_answer(const Request& request, const Answer& answer, std::string_view incomplete,
                   Streams streams);

}  // namespace console
