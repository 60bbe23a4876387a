// The entries that no shard holds yet, in the order in which they were found.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "index/entry.hpp"

namespace system_search {

inline constexpr std::size_t kShardEntries = 1024;

// Neighbouring entries of one folder. A folder is a path up to its last "/", that one included; ""
// for a path without any.
struct FolderRun {
    std::uint32_t start;  // of the folder's text, in the folder texts
    std::uint16_t bytes;  // of the folder's text
    std::uint16_t first;  // the first entry
};

// Collects what a shard is made of: each different folder once, and the names. Belongs to one
// thread. Its memory is kept from shard to shard.
class Batch {
public:
    // The path is `folder` followed by `name`, not empty and at most kMaxPathBytes together. It is
    // divided at its last "/", wherever the two parts meet: that they are two only saves a caller
    // that has them from joining them. For a batch of less than kShardEntries. Throws
    // std::bad_alloc, and is then only good for clear().
    void add(std::string_view folder, std::string_view name, std::uint32_t kind);
    void add(std::string_view path, std::uint32_t kind);
    void clear();

    bool empty() const { return name_starts_.empty(); }
    std::size_t size() const { return name_starts_.size(); }

    std::string_view folder_texts() const { return folder_texts_; }
    const std::vector<FolderRun>& runs() const { return runs_; }
    std::string_view names() const { return names_; }
    const std::vector<std::uint32_t>& name_starts() const { return name_starts_; }  // in names()
    std::string_view name(std::size_t entry) const {
        const std::size_t end = entry + 1 < size() ? name_starts_[entry + 1] : names_.size();
        return names().substr(name_starts_[entry], end - name_starts_[entry]);
    }
    // One bit per entry that is a folder.
    const std::array<std::uint64_t, kShardEntries / 64>& folder_bits() const {
        return folder_bits_;
    }

private:
    void add_split(std::string_view folder, std::string_view name, std::uint32_t kind);
    void begin_run(std::string_view folder);
    std::string_view folder_of(const FolderRun& run) const {
        return std::string_view(folder_texts_).substr(run.start, run.bytes);
    }

    std::string folder_texts_;
    std::vector<FolderRun> runs_;
    std::string names_;
    std::vector<std::uint32_t> name_starts_;
    std::array<std::uint64_t, kShardEntries / 64> folder_bits_{};

    // Finds a folder again that an earlier run was in: a hash table of the first run in each
    // folder, counted from 1; 0 is free.
    static constexpr unsigned kSlotBits = 11;
    std::array<std::uint16_t, std::size_t{1} << kSlotBits> slots_{};
    std::string path_;  // room for a path whose parts have to be joined
};

}  // namespace system_search
