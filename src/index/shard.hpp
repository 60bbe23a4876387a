// A shard: at most 1024 neighbouring entries, never changed once built.
//
// An entry is a number, its name, its kind and its folder; there is no record per entry. All texts
// are kept folded, each once, with one bit for each of their bytes that tells whether it was an
// uppercase letter: that restores what was stored. Everything lies in one exactly sized block:
//
//   signatures   kSignatureBits bitmaps with one bit per entry, see index/signature.hpp
//   folder bigrams  uint64[64], which pairs of neighbouring bytes the folders hold
//   extensions   the different extensions of the names, see index/extension.hpp
//   runs         FolderRun[runs + 1]: neighbours of one folder; the last one closes them
//   name starts  uint32[n + 1], positions in the texts
//   extension numbers  uint8[n]: 1 is the first of the extensions, 0 is none
//   uppercase    one bit per byte of the texts
//   texts        every different folder once, then the names in the order of the entries
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

#include "index/batch.hpp"
#include "index/entry.hpp"
#include "index/extension.hpp"

namespace system_search {

// Readable bytes behind every text of a shard.
inline constexpr std::size_t kTextPadding = 32;

class Shard {
public:
    // Of a batch that is not empty. Throws std::bad_alloc.
    explicit Shard(const Batch& batch);
    Shard(const Shard&) = delete;
    Shard& operator=(const Shard&) = delete;

    std::uint32_t size() const { return size_; }             // how many entries
    std::uint32_t words() const { return words_; }           // of a bitmap with one bit per entry
    std::uint32_t folder_count() const { return folders_; }  // how many entries are folders
    std::uint32_t least() const { return least_; }           // the first entry in result order
    std::size_t memory_bytes() const { return sizeof(Shard) + block_bytes_; }

    // The bitmap of a signature bit, of words() words. Bits beyond the last entry are 0.
    const std::uint64_t* signature(unsigned bit) const {
        return signatures_ + std::size_t{bit} * words_;
    }
    bool has(unsigned signature_bit, std::uint32_t entry) const {
        return (signature(signature_bit)[entry / 64] >> entry % 64 & 1) != 0;
    }

    std::span<const FolderRun> runs() const { return {runs_, run_count_}; }
    // The entry behind the last one of a run.
    std::uint32_t end_of(const FolderRun& run) const { return (&run + 1)->first; }
    const FolderRun& run_of(std::uint32_t entry) const;

    // False when no folder holds these neighbouring folded bytes.
    bool folders_hold(char first, char second) const;
    // The different extensions of the names, and for each entry the number of its own, counted from
    // 1; 0 for a name without one.
    std::span<const Extension> extensions() const { return {extensions_, extension_count_}; }
    const std::uint8_t* extension_numbers() const { return extension_numbers_; }

    std::string_view texts() const { return {texts_, text_bytes_}; }  // folded, all of them
    std::string_view folder_texts() const { return {texts_, name_starts_[0]}; }
    std::string_view folded_folder(const FolderRun& run) const {
        return {texts_ + run.start, run.bytes};
    }
    std::string_view folded_name(std::uint32_t entry) const {
        return {texts_ + name_starts_[entry], name_starts_[entry + 1] - name_starts_[entry]};
    }

    // Whether a folded text of this shard differs from what was stored.
    bool has_uppercase(std::string_view folded) const;
    // Writes what was stored for a folded text of this shard, and garbage behind it: `out` needs
    // room for kTextPadding bytes more.
    void restore(std::string_view folded, char* out) const;

    Entry entry(std::uint32_t number) const;

    // The order of what was stored for two texts that fold alike: below, above or 0.
    static int compare_stored(const Shard& a, std::string_view a_folded, const Shard& b,
                              std::string_view b_folded);

private:
    template <typename Visit>
    void for_sections(Visit visit);
    void fill_texts(const Batch& batch);
    void fill_signatures(const Batch& batch);
    void fill_folder_bigrams();
    std::uint32_t find_least() const;

    std::uint32_t size_;
    std::uint32_t words_;
    std::uint32_t run_count_;
    std::uint32_t extension_count_;
    std::uint32_t folders_ = 0;
    std::uint32_t least_;
    std::size_t text_bytes_;
    std::size_t block_bytes_ = 0;
    std::unique_ptr<std::byte[]> block_;

    // Into the block.
    std::uint64_t* signatures_;
    std::uint64_t* folder_bigrams_;
    Extension* extensions_;
    FolderRun* runs_;
    std::uint32_t* name_starts_;
    std::uint8_t* extension_numbers_;
    char* uppercase_;
    char* texts_;
    char* padding_;
};

// An entry of some shard.
struct EntryRef {
    const Shard* shard;
    std::uint32_t number;
};

// The result order: whole paths, so that results come grouped by folder; by folded path, then by
// stored path, as unsigned bytes.
bool orders_before(EntryRef a, EntryRef b);

}  // namespace system_search
