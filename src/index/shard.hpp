// A shard: at most 1024 neighbouring entries and their texts, never changed once built.
//
// Producers collect paths in a Batch, which belongs to one thread. Building a shard copies them
// into one exactly sized block and derives all that makes a scan cheap, once, so that no query
// prepares anything per entry.
//
// The block, in this order:
//
//   entries      Entry[n]
//   folder pairs which pairs of bytes the folders hold
//   columns      the names' signatures, one bitmap per signature bit
//   endings      the different endings of the names
//   name starts  uint32[n + 1], positions in `names`
//   runs         FolderRun[runs + 1], neighbours that share a folder
//   names        the folded names, each closed by a NUL, in entry order
//   folders      length, folded folder, NUL; each shared by all its entries
//   paths        per entry: length, path, NUL
//   ending numbers  uint8[n], per entry
//   padding      so that vectors may be loaded from any byte of any text
//
// A reader needs no lock: it holds a reference to the shard and only reads.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "index/ending.hpp"
#include "index/entry.hpp"
#include "index/folder_pairs.hpp"

namespace system_search {

inline constexpr std::size_t kShardEntries = 1024;
// Readable bytes behind every text of a shard.
inline constexpr std::size_t kTextPadding = 32;

class Batch;

// Neighbouring entries whose stored folders (the path before the name) are equal.
struct FolderRun {
    std::uint32_t folder_start;  // into the folder texts
    std::uint16_t first;         // its first entry
    // How much of the folder is the same as in the run before: whole components, so that it ends
    // behind a "/". 0 in the first run.
    std::uint16_t shared_bytes;
};

struct Shard {
    // Of 1 to kShardEntries entries. Throws std::bad_alloc.
    explicit Shard(const Batch& batch);
    Shard(const Shard&) = delete;
    Shard& operator=(const Shard&) = delete;

    const std::uint64_t* column(unsigned signature_bit) const {
        return columns + std::size_t{signature_bit} * words;
    }
    std::string_view folded_name(std::uint32_t entry) const {
        return {names + name_starts[entry], name_starts[entry + 1] - name_starts[entry] - 1};
    }
    std::string_view folded_folder(const FolderRun& run) const {
        return StoredText(folder_texts.data() + run.folder_start).view();
    }

    std::span<const Entry> entries;
    std::uint32_t size;   // how many entries
    std::uint32_t words;  // the 64-bit words of a bitmap with one bit per entry

    const std::uint64_t* columns;  // kSignatureBits bitmaps of `words` words each
    const FolderPairs* folder_pairs;
    const FolderRun* runs;  // `run_count` of them, and one more whose `first` is `size`
    std::uint32_t run_count;
    std::uint32_t folders;  // how many entries are folders
    bool has_non_ascii;     // a name holds other bytes than ASCII

    const std::uint32_t* name_starts;  // into `names`; one more closes the last
    const char* names;
    std::string_view folder_texts;  // every folder of the runs once, and the lengths
    const Entry* least;             // the first in result order

    const Ending* endings;               // `ending_count` of them
    const std::uint8_t* ending_numbers;  // per entry: 1 is the first of `endings`, 0 is none
    std::uint32_t ending_count;

    std::size_t block_bytes;

private:
    std::unique_ptr<std::byte[]> block_;
};

// The entries not yet published, in the order in which they were found. Its memory is kept from
// shard to shard.
class Batch {
public:
    struct Record {
        std::size_t path_offset;  // into texts()
        std::uint32_t path_bytes;
        std::uint32_t kind;
    };

    // The path is `folder` followed by `name`, at most kMaxPathBytes together. The split carries
    // no meaning: it saves a caller that has the parts from joining them.
    void add(std::string_view folder, std::string_view name, std::uint32_t kind);
    void add(std::string_view path, std::uint32_t kind) { add(path, {}, kind); }
    void clear();

    bool empty() const { return records_.empty(); }
    std::size_t size() const { return records_.size(); }
    std::span<const Record> records() const { return records_; }
    std::string_view path(const Record& record) const {
        return std::string_view(texts_).substr(record.path_offset, record.path_bytes);
    }

private:
    std::string texts_;
    std::vector<Record> records_;
};

}  // namespace system_search
