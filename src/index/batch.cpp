#include "index/batch.hpp"

#include "common/bytes.hpp"
#include "index/text_hash.hpp"

namespace system_search {

void Batch::add(std::string_view folder, std::string_view name, std::uint32_t kind) {
    const bool meet_at_separator = folder.empty() || folder.back() == '/';
    if (meet_at_separator && find_last(name, '/') == std::string_view::npos) {
        add_split(folder, name, kind);
    } else {
        path_.assign(folder).append(name);
        add(path_, kind);
    }
}

void Batch::add(std::string_view path, std::uint32_t kind) {
    const std::size_t name = find_last(path, '/') + 1;  // npos + 1 is 0
    add_split(path.substr(0, name), path.substr(name), kind);
}

void Batch::add_split(std::string_view folder, std::string_view name, std::uint32_t kind) {
    if (runs_.empty() || !equal_bytes(folder_of(runs_.back()), folder)) begin_run(folder);
    const std::size_t entry = name_starts_.size();
    name_starts_.push_back(static_cast<std::uint32_t>(names_.size()));
    folder_bits_[entry / 64] |= std::uint64_t{kind == kKindFolder} << entry % 64;
    names_.append(name);
}

void Batch::begin_run(std::string_view folder) {
    const auto first = static_cast<std::uint16_t>(size());
    const auto bytes = static_cast<std::uint16_t>(folder.size());
    for (std::size_t slot = hash_of(folder) >> (64 - kSlotBits);; ++slot) {
        std::uint16_t& run = slots_[slot % slots_.size()];
        if (run == 0) {
            runs_.push_back({static_cast<std::uint32_t>(folder_texts_.size()), bytes, first});
            folder_texts_.append(folder);
            run = static_cast<std::uint16_t>(runs_.size());
            return;
        }
        const FolderRun& known = runs_[run - 1u];
        if (equal_bytes(folder_of(known), folder)) {
            runs_.push_back({known.start, bytes, first});
            return;
        }
    }
}

void Batch::clear() {
    folder_texts_.clear();
    runs_.clear();
    names_.clear();
    name_starts_.clear();
    folder_bits_.fill(0);
    slots_.fill(0);
}

}  // namespace system_search
