// One catalogued file or folder.
//
// An Entry is a small record whose texts live in the block of the Shard that holds it: no entry
// owns memory of its own, and every pointer into an entry is valid for as long as the shard is.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

namespace system_search {

inline constexpr std::uint32_t kKindFile = 1;
inline constexpr std::uint32_t kKindFolder = 2;

// The limits of a catalogue. They are part of the design, not tuning: the walk, the cache file and
// the folder listing agree on them.
inline constexpr std::uint32_t kMaxEntries = 5'000'000;
inline constexpr std::uint64_t kMaxMemoryEstimate = 1'073'741'824;
inline constexpr std::size_t kMaxPathBytes = 32'768;

// What an entry counts against kMaxMemoryEstimate.
constexpr std::uint64_t memory_estimate(std::size_t path_bytes) {
    return std::uint64_t{2} * path_bytes + 72;
}

// A NUL-terminated text inside a shard's block, its length in the two bytes in front of it
// (kMaxPathBytes fits).
class StoredText {
public:
    StoredText() = default;
    explicit StoredText(const char* text) : text_(text) {}

    const char* c_str() const { return text_; }
    std::size_t size() const {
        std::uint16_t bytes;
        std::memcpy(&bytes, text_ - sizeof bytes, sizeof bytes);
        return bytes;
    }
    std::string_view view() const { return {text_, size()}; }

private:
    const char* text_ = nullptr;
};

// `path` with A-Z lowered, in two texts, each closed by a NUL: the folder with its last "/", which
// neighbours of one folder share, and the name. Most of a path is its folder, and nearly every
// path has a capital somewhere, so a second copy of whole paths would be half of the index.
struct FoldedPath {
    const char* folder = nullptr;
    const char* name = nullptr;
};

struct Entry {
    StoredText path;            // absolute, UTF-8, "/" as the only separator; never empty
    FoldedPath folded_path;     // as long as `path`, and divided at `name_offset`
    std::uint32_t name_offset;  // where the last component begins
    std::uint32_t kind;         // kKindFile or kKindFolder

    std::string_view name() const { return path.view().substr(name_offset); }
    std::string_view folded_name() const { return {folded_path.name, path.size() - name_offset}; }
    // Everything before the name, the last "/" included.
    std::string_view folded_folder() const { return {folded_path.folder, name_offset}; }
    // The whole folded path, put together in the caller's buffer. Throws std::bad_alloc.
    std::string_view folded_path_in(std::string& buffer) const {
        buffer.assign(folded_folder()).append(folded_name());
        return buffer;
    }
};

static_assert(sizeof(Entry) == 32, "an index holds millions of these");

// The result order: whole paths, so that results come grouped by folder; by folded path, then by
// stored path, as unsigned bytes.
bool orders_before(const Entry& a, const Entry& b);

}  // namespace system_search
