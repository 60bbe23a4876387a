#include "index/entry.hpp"

#include <utility>

#include "common/text.hpp"
#include "system_search.h"

namespace system_search {

// The host knows these under the names of the public header.
static_assert(kKindFile == SS_KIND_FILE && kKindFolder == SS_KIND_FOLDER &&
              kMaxEntries == SS_MAX_ENTRIES && kMaxPathBytes == SS_MAX_PATH_BYTES);

Entry::Entry(std::string entry_path, std::uint32_t entry_kind)
    : path(std::move(entry_path)),
      folded_path(path),
      name_offset(static_cast<std::uint32_t>(path.rfind('/') + 1)),
      kind(entry_kind) {
    fold_into(path, folded_path.data());
}

}  // namespace system_search
