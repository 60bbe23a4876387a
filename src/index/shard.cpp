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

Signature entry_signature(const Segment& segment, std::uint32_t i) {
    const Entry& entry = segment.entries[i];
    const std::string_view folded_name = segment.folded_name(i);
    Signature signature = name_signature(folded_name);
    const bool is_folder = entry.kind == kKindFolder;
    const bool has_upper = !equal_bytes(entry.path.c_str() + entry.name_offset, folded_name.data(),
                                        folded_name.size());
    signature.words[0] |= std::uint64_t{is_folder} << kFolderBit;
    signature.words[0] |= std::uint64_t{has_upper} << kUpperNameBit;
    return signature;
}

void fill_columns(const Segment& segment, std::uint64_t* columns) {
    constexpr unsigned kSquares = std::size(Signature().words);
    std::uint64_t squares[kSquares][64];
    for (std::uint32_t word = 0; word < segment.words; ++word) {
        const std::uint32_t first = word * 64;
        const std::uint32_t rows = std::min(segment.size - first, std::uint32_t{64});
        for (std::uint32_t row = 0; row < rows; ++row) {
            const Signature signature = entry_signature(segment, first + row);
            for (unsigned i = 0; i < kSquares; ++i) squares[i][row] = signature.words[i];
        }
        for (unsigned i = 0; i < kSquares; ++i) {
            std::fill(squares[i] + rows, squares[i] + 64, 0);
            transpose(squares[i]);
        }
        for (unsigned bit = 0; bit < kSignatureBits; ++bit) {
            columns[bit * segment.words + word] = squares[bit / 64][bit % 64];
        }
    }
}

const FolderPairs* fill_folder_pairs(const Segment& segment, FolderPairs* at) {
    FolderPairs& pairs = *::new (at) FolderPairs{};
    for (std::uint32_t i = 0; i < segment.run_count; ++i) {
        const FolderRun& run = segment.runs[i];
        pairs.add(segment.folded_folder(run), run.shared_bytes);
    }
    return &pairs;
}

std::uint32_t count_folders(const Segment& segment) {
    std::uint32_t folders = 0;
    for (std::uint32_t word = 0; word < segment.words; ++word) {
        folders += static_cast<std::uint32_t>(std::popcount(segment.column(kFolderBit)[word]));
    }
    return folders;
}

bool has_non_ascii_name(const Segment& segment) {
    const std::uint64_t* const end = segment.column(kNonAsciiBits + kNonAsciiClasses);
    return std::any_of(segment.column(kNonAsciiBits), end,
                       [](std::uint64_t word) { return word != 0; });
}

const Entry* least_entry(const Segment& segment) {
    const Entry* least = segment.entries;
    for (std::uint32_t i = 1; i < segment.size; ++i) {
        if (orders_before(segment.entries[i], *least)) least = &segment.entries[i];
    }
    return least;
}

}  // namespace

Shard::Shard(const Batch& batch) {
    const ShardPlan plan(batch);
    const std::size_t count = batch.size();
    block_bytes_ = count * sizeof(Entry) + plan.segments.size() * sizeof(Segment) +
                   plan.segments.size() * sizeof(FolderPairs) +
                   plan.column_words * sizeof(std::uint64_t) +
                   plan.endings.size() * sizeof(Ending) + (count + 1) * sizeof(std::uint32_t) +
                   plan.runs.size() * sizeof(FolderRun) + plan.names_bytes + plan.folders_bytes +
                   plan.paths_bytes + count + kTextPadding;
    block_ = std::make_unique_for_overwrite<std::byte[]>(block_bytes_);

    Cursor cursor(block_.get());
    auto* const entries = cursor.take<Entry>(count);
    auto* const segments = cursor.take<Segment>(plan.segments.size());
    auto* const folder_pairs = cursor.take<FolderPairs>(plan.segments.size());
    auto* columns = cursor.take<std::uint64_t>(plan.column_words);
    auto* const endings = cursor.take<Ending>(plan.endings.size());
    auto* const name_starts = cursor.take<std::uint32_t>(count + 1);
    auto* const runs = cursor.take<FolderRun>(plan.runs.size());
    char* const names = cursor.take<char>(plan.names_bytes);
    char* folder = cursor.take<char>(plan.folders_bytes);
    char* path_out = cursor.take<char>(plan.paths_bytes);
    auto* const ending_numbers = cursor.take<std::uint8_t>(count);
    std::memset(cursor.take<char>(kTextPadding), 0, kTextPadding);

    std::copy(plan.runs.begin(), plan.runs.end(), runs);
    std::copy(plan.endings.begin(), plan.endings.end(), endings);
    std::copy(plan.ending_numbers.begin(), plan.ending_numbers.end(), ending_numbers);
    std::vector<const char*> folded_folders(plan.folders.size());
    for (std::size_t i = 0; i < folded_folders.size(); ++i) {
        folder = store_length(plan.folders[i].text, folder);
        folded_folders[i] = folder;
        folder = store_folded(plan.folders[i].text, folder);
    }

    char* name = names;
    for (std::size_t i = 0; i < count; ++i) {
        const Batch::Record& record = batch.records()[i];
        const ShardPlan::EntryPlan& planned = plan.entries[i];
        const std::string_view path = batch.path(record);
        name_starts[i] = static_cast<std::uint32_t>(name - names);
        ::new (&entries[i]) Entry{StoredText(path_out + kLengthBytes),
                                  {folded_folders[planned.folder], name},
                                  planned.name_offset,
                                  record.kind};
        name = store_folded(path.substr(planned.name_offset), name);
        path_out = store_with_length(path, path_out);
    }
    name_starts[count] = static_cast<std::uint32_t>(name - names);

    for (std::size_t i = 0; i < plan.segments.size(); ++i) {
        const ShardPlan::SegmentPlan& planned = plan.segments[i];
        Segment& segment = *::new (&segments[i]) Segment{};
        segment.entries = entries + planned.first_entry;
        segment.size = static_cast<std::uint32_t>(planned.size);
        segment.words = static_cast<std::uint32_t>(planned.words);
        segment.columns = columns;
        segment.runs = runs + planned.first_run;
        segment.run_count = static_cast<std::uint32_t>(planned.run_count);
        segment.name_starts = name_starts + planned.first_entry;
        segment.names = names;
        segment.folder_texts = {folded_folders[planned.first_folder] - kLengthBytes,
                                planned.folders_bytes};
        fill_columns(segment, columns);
        columns += planned.words * kSignatureBits;
        segment.folder_pairs = fill_folder_pairs(segment, folder_pairs + i);
        segment.endings = endings + planned.first_ending;
        segment.ending_numbers = ending_numbers + planned.first_entry;
        segment.ending_count = static_cast<std::uint32_t>(planned.ending_count);
        segment.folders = count_folders(segment);
        segment.has_non_ascii = has_non_ascii_name(segment);
        segment.least = least_entry(segment);
    }
    entries_ = {entries, count};
    segments_ = {segments, plan.segments.size()};
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
