/* A query of the library, from its start to its end. */
#pragma once

#include <system_search.h>

#include <functional>

#include "model/answer.hpp"

namespace console {

enum class QueryEnd {
    kDone,
    kFailed,
    kNotStarted,
    kInterrupted,
};

/* Makes the query, waits for its end or an interrupt, and frees it. Only with kDone does `answer`
   hold results. */
QueryEnd ask(const std::function<SystemSearchQuery*()>& make, Answer& answer);

}  // namespace console
