// A shard: up to 1024 entries and their texts, never changed once built.
//
// Producers collect paths in a Batch, which belongs to one thread. Building a shard copies them
// into one exactly sized block and derives all that makes a scan cheap, once, so that no query
// prepares anything per entry. The block, in this order:
//
//   entries      Entry[n]
//   name starts  uint32[n + 1], positions in `names`
//   names        the folded names, each closed by a NUL, in entry order
//   folders      the folded folders, each closed by a NUL and shared by its entries
//   paths        per entry: length, path, NUL
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

#include "index/entry.hpp"

namespace system_search {

inline constexpr std::size_t kShardEntries = 1024;

class Batch;

class Shard {
public:
    explicit Shard(const Batch& batch);
    Shard(const Shard&) = delete;
    Shard& operator=(const Shard&) = delete;

    std::size_t size() const { return entries_.size(); }
    std::span<const Entry> entries() const { return entries_; }

    // All folded names behind one another, each closed by a NUL, which no name holds: a match in
    // this text never spans two names.
    std::string_view names() const { return names_; }
    // name_starts()[i] is where entry i's name begins in names(); one more closes the last.
    std::span<const std::uint32_t> name_starts() const { return name_starts_; }

    std::uint32_t folders() const { return folders_; }  // how many entries are folders
    std::size_t block_bytes() const { return block_bytes_; }

private:
    std::unique_ptr<std::byte[]> block_;
    std::size_t block_bytes_ = 0;
    std::span<const Entry> entries_;
    std::span<const std::uint32_t> name_starts_;
    std::string_view names_;
    std::uint32_t folders_ = 0;
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
