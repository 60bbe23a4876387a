#include "index/shard.hpp"

#include <cstring>

#include "common/text.hpp"

namespace system_search {
namespace {

constexpr std::size_t kLengthBytes = sizeof(std::uint16_t);

std::uint32_t name_offset(std::string_view path) {
    const std::size_t separator = path.rfind('/');
    return separator == std::string_view::npos ? 0 : static_cast<std::uint32_t>(separator + 1);
}

// Both write a text and its NUL at `out` and return the end of what they wrote.
char* store_folded(std::string_view text, char* out) {
    fold_into(text, out);
    out[text.size()] = '\0';
    return out + text.size() + 1;
}

char* store_with_length(std::string_view text, char* out) {
    const auto length = static_cast<std::uint16_t>(text.size());
    std::memcpy(out, &length, kLengthBytes);
    std::memcpy(out + kLengthBytes, text.data(), text.size());
    out[kLengthBytes + text.size()] = '\0';
    return out + kLengthBytes + text.size() + 1;
}

// The folders of the entries before the one in hand, from the top down: a walk comes back to each
// of them after every subfolder. Finding the folder again lets all its entries share one text.
class OpenFolders {
public:
    // The number of `folder` in the order of first appearance.
    std::uint32_t number_of(std::string_view folder) {
        while (!open_.empty() && !folder.starts_with(open_.back().text)) open_.pop_back();
        if (open_.empty() || open_.back().text.size() != folder.size()) {
            open_.push_back({folder, static_cast<std::uint32_t>(all_.size())});
            all_.push_back(folder);
        }
        return open_.back().number;
    }
    const std::vector<std::string_view>& all() const { return all_; }

private:
    struct Folder {
        std::string_view text;
        std::uint32_t number;
    };
    std::vector<Folder> open_;
    std::vector<std::string_view> all_;
};

}  // namespace

Shard::Shard(const Batch& batch) {
    struct Measure {
        std::uint32_t name_offset;
        std::uint32_t folder;
    };
    const std::size_t count = batch.size();
    std::vector<Measure> measures(count);

    OpenFolders folders;
    std::size_t names_bytes = 0;
    std::size_t paths_bytes = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const std::string_view path = batch.path(batch.records()[i]);
        const std::uint32_t offset = name_offset(path);
        measures[i] = {offset, folders.number_of(path.substr(0, offset))};
        names_bytes += path.size() - offset + 1;
        paths_bytes += kLengthBytes + path.size() + 1;
    }
    std::size_t folders_bytes = 0;
    for (const std::string_view folder : folders.all()) folders_bytes += folder.size() + 1;

    const std::size_t starts_offset = count * sizeof(Entry);
    const std::size_t names_offset = starts_offset + (count + 1) * sizeof(std::uint32_t);
    const std::size_t folders_offset = names_offset + names_bytes;
    const std::size_t paths_offset = folders_offset + folders_bytes;
    block_bytes_ = paths_offset + paths_bytes;
    block_ = std::make_unique_for_overwrite<std::byte[]>(block_bytes_);

    auto* const entries = reinterpret_cast<Entry*>(block_.get());
    auto* const starts = reinterpret_cast<std::uint32_t*>(block_.get() + starts_offset);
    char* const names = reinterpret_cast<char*>(block_.get() + names_offset);

    std::vector<const char*> folded_folders(folders.all().size());
    char* out = reinterpret_cast<char*>(block_.get() + folders_offset);
    for (std::size_t i = 0; i < folded_folders.size(); ++i) {
        folded_folders[i] = out;
        out = store_folded(folders.all()[i], out);
    }

    char* name = names;
    for (std::size_t i = 0; i < count; ++i) {
        const Batch::Record& record = batch.records()[i];
        const std::string_view path = batch.path(record);
        starts[i] = static_cast<std::uint32_t>(name - names);
        ::new (&entries[i]) Entry{StoredText(out + kLengthBytes),
                                  {folded_folders[measures[i].folder], name},
                                  measures[i].name_offset,
                                  record.kind};
        name = store_folded(path.substr(measures[i].name_offset), name);
        out = store_with_length(path, out);
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
