#include "index/shard_plan.hpp"

#include <algorithm>
#include <cstring>

#include "common/bytes.hpp"
#include "index/signature.hpp"

namespace system_search {
namespace {

std::uint32_t name_offset(std::string_view path) {
    const std::size_t separator = path.rfind('/');
    return separator == std::string_view::npos ? 0 : static_cast<std::uint32_t>(separator + 1);
}

bool begins_with(std::string_view text, std::string_view beginning) {
    return equal_bytes(text.substr(0, beginning.size()), beginning);
}

// The bytes that two folders begin with in common, whole components only.
std::uint16_t shared_bytes(std::string_view a, std::string_view b) {
    const std::size_t limit = std::min(a.size(), b.size());
    std::size_t shared = 0;
    while (limit - shared >= sizeof(std::uint64_t) &&
           std::memcmp(a.data() + shared, b.data() + shared, sizeof(std::uint64_t)) == 0) {
        shared += sizeof(std::uint64_t);
    }
    while (shared < limit && a[shared] == b[shared]) ++shared;
    while (shared != 0 && a[shared - 1] != '/') --shared;
    return static_cast<std::uint16_t>(shared);
}

// The folders of the entries before the one in hand, from the top down: a walk comes back to each
// of them after every subfolder. Finding the folder again lets all its entries share one text.
class OpenFolders {
public:
    explicit OpenFolders(std::vector<ShardPlan::Folder>& all) : all_(all) {}

    std::uint32_t number_of(std::string_view folder) {
        while (!open_.empty() && !begins_with(folder, open_.back().text)) open_.pop_back();
        if (open_.empty() || open_.back().text.size() != folder.size()) {
            open_.push_back({folder, static_cast<std::uint32_t>(all_.size())});
            all_.push_back({folder, bytes_ + static_cast<std::uint32_t>(kLengthBytes)});
            bytes_ += static_cast<std::uint32_t>(stored_text_bytes(folder.size()));
        }
        return open_.back().number;
    }
    std::uint32_t bytes() const { return bytes_; }

private:
    struct Open {
        std::string_view text;
        std::uint32_t number;
    };
    std::vector<Open> open_;
    std::vector<ShardPlan::Folder>& all_;
    std::uint32_t bytes_ = 0;
};

}  // namespace

ShardPlan::ShardPlan(const Batch& batch) : entries(batch.size()), ending_numbers(batch.size()) {
    OpenFolders open(folders);
    EndingNumbers ending_number(endings);
    std::string_view run_folder;
    for (std::size_t i = 0; i < batch.size(); ++i) {
        const std::string_view path = batch.path(batch.records()[i]);
        EntryPlan& entry = entries[i];
        entry.name_offset = name_offset(path);
        names_bytes += path.size() - entry.name_offset + 1;
        paths_bytes += stored_text_bytes(path.size());
        ending_numbers[i] = ending_number.number_of(ending_of(path.substr(entry.name_offset)));

        const std::string_view folder = path.substr(0, entry.name_offset);
        if (i != 0 && equal_bytes(folder, run_folder)) {
            entry.folder = entries[i - 1].folder;
            continue;
        }
        entry.folder = open.number_of(folder);
        runs.push_back({folders[entry.folder].start, static_cast<std::uint16_t>(i),
                        shared_bytes(run_folder, folder)});
        run_folder = folder;
    }
    runs.push_back({0, static_cast<std::uint16_t>(batch.size()), 0});
    folders_bytes = open.bytes();
}

}  // namespace system_search
