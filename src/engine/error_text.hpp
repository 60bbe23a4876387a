// The text behind ss_error: a copy of the engine's error in a buffer of the calling thread.
#pragma once

#include "engine/engine.hpp"

namespace system_search {

// Valid until the same thread calls again or ends. Throws nothing and allocates only where failing
// is harmless, so that a host short of memory still gets a sentence.
const char* error_text(const Engine& engine) noexcept;

}  // namespace system_search
