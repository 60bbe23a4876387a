// What the file system says of a result, asked fresh at query time.
#pragma once

#include <string>
#include <string_view>

#include "system_search.h"

namespace system_search {

// Never fails for a file that is gone or denied: its record is all zero. Throws TextError when the
// path is not UTF-8, and std::bad_alloc. `wide_path` is room that calls share.
ResultMetadata read_metadata(std::string_view path, std::u16string& wide_path);

}  // namespace system_search
