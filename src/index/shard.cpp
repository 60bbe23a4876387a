#include "index/shard.hpp"

#include <algorithm>
#include <cstring>

#include "common/text.hpp"

namespace system_search {
namespace {

constexpr std::size_t kLengthBytes = sizeof(std::uint16_t);

// What a stored text takes: its length, its bytes, its NUL.
constexpr std::size_t stored_bytes(std::size_t text_bytes) {
    return kLengthBytes + text_bytes + 1;
}

std::uint32_t name_offset(std::string_view path) {
    const std::size_t separator = path.rfind('/');
    return separator == std::string_view::npos ? 0 : static_cast<std::uint32_t>(separator + 1);
}

// Writes length and NUL around the room for a text and returns that room.
char* store(char*& out, std::size_t bytes) {
    const auto length = static_cast<std::uint16_t>(bytes);
    std::memcpy(out, &length, kLengthBytes);
    char* const text = out + kLengthBytes;
    text[bytes] = '\0';
    out = text + bytes + 1;
    return text;
}

}  // namespace

Shard::Shard(const Batch& batch) {
    struct Measure {
        std::uint32_t name_offset;
        bool has_upper;
    };
    const std::size_t count = batch.size();
    std::vector<Measure> measures(count);

    std::size_t names_bytes = 0;
    std::size_t texts_bytes = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const std::string_view path = batch.path(batch.records()[i]);
        measures[i] = {name_offset(path), has_upper_ascii(path)};
        names_bytes += path.size() - measures[i].name_offset + 1;
        texts_bytes += stored_bytes(path.size()) * (measures[i].has_upper ? 2 : 1);
    }

    const std::size_t starts_offset = count * sizeof(Entry);
    const std::size_t names_offset = starts_offset + (count + 1) * sizeof(std::uint32_t);
    const std::size_t texts_offset = names_offset + names_bytes;
    block_bytes_ = texts_offset + texts_bytes;
    block_ = std::make_unique_for_overwrite<std::byte[]>(block_bytes_);

    auto* const entries = reinterpret_cast<Entry*>(block_.get());
    auto* const starts = reinterpret_cast<std::uint32_t*>(block_.get() + starts_offset);
    char* const names = reinterpret_cast<char*>(block_.get() + names_offset);
    char* name = names;
    char* text = reinterpret_cast<char*>(block_.get() + texts_offset);

    for (std::size_t i = 0; i < count; ++i) {
        const Batch::Record& record = batch.records()[i];
        const std::string_view path = batch.path(record);
        char* const stored = store(text, path.size());
        std::memcpy(stored, path.data(), path.size());
        char* folded = stored;
        if (measures[i].has_upper) {
            folded = store(text, path.size());
            fold_into(path, folded);
        }
        const std::size_t name_bytes = path.size() - measures[i].name_offset;
        starts[i] = static_cast<std::uint32_t>(name - names);
        std::memcpy(name, folded + measures[i].name_offset, name_bytes + 1);
        name += name_bytes + 1;

        ::new (&entries[i])
            Entry{StoredText(stored), StoredText(folded), measures[i].name_offset, record.kind};
        folders_ += record.kind == kKindFolder;
    }
    starts[count] = static_cast<std::uint32_t>(name - names);

    entries_ = {entries, count};
    name_starts_ = {starts, count + 1};
    names_ = {names, names_bytes};
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
