/* What a build is doing, and how it ended, in plain words. */
#pragma once

#include <system_search.h>

#include <string>
#include <string_view>

namespace console {

/* "24,310 entries, 3 skipped, 1.2 s, 20,258 entries/s". */
std::string progress_text(const EngineStatus& status, double seconds);

/* How a build ended that did not fail:
   "Indexed 24,310 entries in 1.2 s (20,258 entries/s), 3 skipped."
   "Loaded 24,310 entries from the cache in 12 ms, 3 skipped when it was made."
   "Cancelled after 0.4 s: 12,288 entries, 3 skipped." */
std::string build_summary(const EngineStatus& status, double milliseconds);

/* Why an index is not the whole, from the status after the query was made; "" when it gives no
   reason. */
std::string incomplete_reason(const EngineStatus& status);

/* ss_error's text together with what was being indexed or saved:
   "Cannot index \"C:/nowhere\": The selected folder is unavailable." */
std::string build_trouble(const EngineStatus& status, std::string_view folder,
                          std::string_view cache, std::string_view error);

}  // namespace console
