// The walk: everything below a list of roots, depth first, published into an Index in shards.
#pragma once

#include <string>
#include <vector>

#include "engine/engine.hpp"
#include "engine/read_ahead.hpp"

namespace system_search {

// Fills `index`, which queries may already see, and counts into the engine's `skipped`. Ends early
// when the engine's `cancel` is set, or at a size limit, which sets the engine's `limited`; what
// was found until then is published. When it throws (a name that is not valid UTF-16, memory) the
// entries of the unpublished batch are lost. Build thread only; what the engine's readers do for it
// has ended when it returns.
void walk(Engine& engine, Index& index, const std::vector<std::u16string>& roots,
          const ReadAheadOptions& options = {});

}  // namespace system_search
