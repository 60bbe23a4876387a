// The texts of a shard as a pattern sees them: as stored, or folded.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "index/shard.hpp"
#include "index/signature.hpp"

namespace system_search {

// Scratch of one thread. What name(), folder() and path() return is good until the next call of the
// same function, and kTextPadding bytes behind it may be read.
class Subject {
public:
    explicit Subject(bool as_stored) : as_stored_(as_stored) {}

    void set_shard(const Shard& shard) { shard_ = &shard; }
    const Shard& shard() const { return *shard_; }

    std::string_view name(std::uint32_t entry) {
        const std::string_view folded = shard_->folded_name(entry);
        const bool is_folded = !as_stored_ || !shard_->has(kUppercaseBit, entry);
        return is_folded ? folded : restored(folded, name_);
    }
    std::string_view path(const FolderRun& run, std::uint32_t entry) {
        path_.assign(folder(run)).append(name(entry)).append(kTextPadding, '\0');
        return std::string_view(path_).substr(0, path_.size() - kTextPadding);
    }
    std::string_view folder(const FolderRun& run) {
        const std::string_view folded = shard_->folded_folder(run);
        return as_stored_ ? restored(folded, folder_) : folded;
    }

private:
    std::string_view restored(std::string_view folded, std::vector<char>& room) {
        if (room.size() < folded.size() + 2 * kTextPadding) {
            room.resize(2 * folded.size() + 2 * kTextPadding);
        }
        shard_->restore(folded, room.data());
        return {room.data(), folded.size()};
    }

    const bool as_stored_;
    const Shard* shard_ = nullptr;
    std::vector<char> name_;
    std::vector<char> folder_;
    std::string path_;
};

}  // namespace system_search
