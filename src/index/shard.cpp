#include "index/shard.hpp"

#include <algorithm>
#include <bit>
#include <cstring>
#include <iterator>
#include <new>

#include "common/bytes.hpp"
#include "common/text.hpp"
#include "index/shard_plan.hpp"
#include "index/signature.hpp"

namespace system_search {
namespace {

// Hands out a block's memory from front to back; what needs the widest alignment comes first.
class Cursor {
public:
    explicit Cursor(std::byte* at) : at_(at) {}

    template <typename T>
    T* take(std::size_t count) {
        T* const taken = reinterpret_cast<T*>(at_);
        at_ += count * sizeof(T);
        return taken;
    }

    template <typename T>
    const T* copy(const std::vector<T>& from) {
        T* const taken = take<T>(from.size());
        std::copy(from.begin(), from.end(), taken);
        return taken;
    }

private:
    std::byte* at_;
};

// These write at `out` and return the end of what they wrote.
char* store_folded(std::string_view text, char* out) {
    fold_into(text, out);
    out[text.size()] = '\0';
    return out + text.size() + 1;
}

char* store_length(std::string_view text, char* out) {
    const auto length = static_cast<std::uint16_t>(text.size());
    std::memcpy(out, &length, kLengthBytes);
    return out + kLengthBytes;
}

char* store_with_length(std::string_view text, char* out) {
    out = store_length(text, out);
    std::memcpy(out, text.data(), text.size());
    out[text.size()] = '\0';
    return out + text.size() + 1;
}

Signature entry_signature(const Shard& shard, std::uint32_t i) {
    const Entry& entry = shard.entries[i];
    const std::string_view folded_name = shard.folded_name(i);
    Signature signature = name_signature(folded_name);
    const bool is_folder = entry.kind == kKindFolder;
    const bool has_upper = !equal_bytes(entry.path.c_str() + entry.name_offset, folded_name.data(),
                                        folded_name.size());
    signature.words[0] |= std::uint64_t{is_folder} << kFolderBit;
    signature.words[0] |= std::uint64_t{has_upper} << kUpperNameBit;
    return signature;
}

void fill_columns(const Shard& shard, std::uint64_t* columns) {
    constexpr unsigned kSquares = std::size(Signature().words);
    std::uint64_t squares[kSquares][64];
    for (std::uint32_t word = 0; word < shard.words; ++word) {
        const std::uint32_t first = word * 64;
        const std::uint32_t rows = std::min(shard.size - first, std::uint32_t{64});
        for (std::uint32_t row = 0; row < rows; ++row) {
            const Signature signature = entry_signature(shard, first + row);
            for (unsigned i = 0; i < kSquares; ++i) squares[i][row] = signature.words[i];
        }
        for (unsigned i = 0; i < kSquares; ++i) {
            std::fill(squares[i] + rows, squares[i] + 64, 0);
            transpose(squares[i]);
        }
        for (unsigned bit = 0; bit < kSignatureBits; ++bit) {
            columns[bit * shard.words + word] = squares[bit / 64][bit % 64];
        }
    }
}

void fill_folder_pairs(const Shard& shard, FolderPairs& pairs) {
    for (std::uint32_t i = 0; i < shard.run_count; ++i) {
        const FolderRun& run = shard.runs[i];
        pairs.add(shard.folded_folder(run), run.shared_bytes);
    }
}

std::uint32_t count_folders(const Shard& shard) {
    std::uint32_t folders = 0;
    for (std::uint32_t word = 0; word < shard.words; ++word) {
        folders += static_cast<std::uint32_t>(std::popcount(shard.column(kFolderBit)[word]));
    }
    return folders;
}

bool has_non_ascii_name(const Shard& shard) {
    const std::uint64_t* const end = shard.column(kNonAsciiBits + kNonAsciiClasses);
    return std::any_of(shard.column(kNonAsciiBits), end,
                       [](std::uint64_t word) { return word != 0; });
}

const Entry* least_entry(std::span<const Entry> entries) {
    return &*std::min_element(entries.begin(), entries.end(), orders_before);
}

}  // namespace

Shard::Shard(const Batch& batch) {
    const ShardPlan plan(batch);
    const std::size_t count = batch.size();
    size = static_cast<std::uint32_t>(count);
    words = (size + 63) / 64;
    run_count = static_cast<std::uint32_t>(plan.runs.size() - 1);
    ending_count = static_cast<std::uint32_t>(plan.endings.size());
    const std::size_t column_words = std::size_t{kSignatureBits} * words;

    block_bytes = count * sizeof(Entry) + sizeof(FolderPairs) +
                  column_words * sizeof(std::uint64_t) + plan.endings.size() * sizeof(Ending) +
                  (count + 1) * sizeof(std::uint32_t) + plan.runs.size() * sizeof(FolderRun) +
                  plan.names_bytes + plan.folders_bytes + plan.paths_bytes + count + kTextPadding;
    block_ = std::make_unique_for_overwrite<std::byte[]>(block_bytes);

    Cursor cursor(block_.get());
    auto* const all_entries = cursor.take<Entry>(count);
    auto* const pairs = cursor.take<FolderPairs>(1);
    auto* const all_columns = cursor.take<std::uint64_t>(column_words);
    endings = cursor.copy(plan.endings);
    auto* const starts = cursor.take<std::uint32_t>(count + 1);
    runs = cursor.copy(plan.runs);
    char* const all_names = cursor.take<char>(plan.names_bytes);
    char* folder = cursor.take<char>(plan.folders_bytes);
    char* path_out = cursor.take<char>(plan.paths_bytes);
    ending_numbers = cursor.copy(plan.ending_numbers);
    std::memset(cursor.take<char>(kTextPadding), 0, kTextPadding);

    folder_texts = {folder, plan.folders_bytes};
    std::vector<const char*> folded_folders(plan.folders.size());
    for (std::size_t i = 0; i < folded_folders.size(); ++i) {
        folder = store_length(plan.folders[i].text, folder);
        folded_folders[i] = folder;
        folder = store_folded(plan.folders[i].text, folder);
    }

    char* name = all_names;
    for (std::size_t i = 0; i < count; ++i) {
        const Batch::Record& record = batch.records()[i];
        const ShardPlan::EntryPlan& planned = plan.entries[i];
        const std::string_view path = batch.path(record);
        starts[i] = static_cast<std::uint32_t>(name - all_names);
        ::new (&all_entries[i]) Entry{StoredText(path_out + kLengthBytes),
                                      {folded_folders[planned.folder], name},
                                      planned.name_offset,
                                      record.kind};
        name = store_folded(path.substr(planned.name_offset), name);
        path_out = store_with_length(path, path_out);
    }
    starts[count] = static_cast<std::uint32_t>(name - all_names);

    entries = {all_entries, count};
    name_starts = starts;
    names = all_names;
    least = least_entry(entries);
    fill_columns(*this, all_columns);
    columns = all_columns;
    folders = count_folders(*this);
    has_non_ascii = has_non_ascii_name(*this);
    fill_folder_pairs(*this, *::new (pairs) FolderPairs{});
    folder_pairs = pairs;
}

void Batch::add(std::string_view folder, std::string_view name, std::uint32_t kind) {
    const std::size_t offset = texts_.size();
    records_.push_back({offset, static_cast<std::uint32_t>(folder.size() + name.size()), kind});
    texts_.append(folder).append(name);
}

void Batch::clear() {
    texts_.clear();
    records_.clear();
}

}  // namespace system_search
