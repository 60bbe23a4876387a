#include "query/metadata.hpp"

#include <cstddef>
#include <cstdint>

#include "common/text.hpp"
#include "platform/platform.hpp"

namespace system_search {
namespace {

// The host reads this record byte for byte.
static_assert(sizeof(ResultMetadata) == 24 && offsetof(ResultMetadata, size) == 0 &&
              offsetof(ResultMetadata, modified) == 8 && offsetof(ResultMetadata, flags) == 16 &&
              offsetof(ResultMetadata, reserved) == 20);

constexpr std::uint64_t kIntervalsPerSecond = 10'000'000;
constexpr std::int64_t kSecondsFrom1601To1970 = 11'644'473'600;

}  // namespace

ResultMetadata read_metadata(std::string_view path, std::u16string& wide_path) {
    wide_path.clear();
    if (!append_wide(path, wide_path)) throw TextError("A path is not valid UTF-8.");

    ResultMetadata metadata{};
    platform::FileInformation file;
    if (platform::file_information(wide_path.c_str(), file) != platform::kSuccess) return metadata;

    metadata.flags = SS_METADATA_MODIFIED;
    if ((file.attributes & (platform::kAttributeDirectory | platform::kAttributeReparsePoint)) ==
        0) {
        metadata.flags |= SS_METADATA_SIZE;
        metadata.size = file.size;
    }
    // Divided before it is shifted: the count is unsigned, the seconds are not.
    metadata.modified =
        static_cast<std::int64_t>(file.last_write / kIntervalsPerSecond) - kSecondsFrom1601To1970;
    return metadata;
}

}  // namespace system_search
