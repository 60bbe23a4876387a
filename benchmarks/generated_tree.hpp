// A tree of which nothing is kept: what a folder holds is computed when it is asked for.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string_view>

#include "simulated/volume.hpp"

namespace system_search::bench {

// `folders` folders and `files` files; every folder holds the same again, `depth` levels down.
class GeneratedTree : public simulated::GeneratedFolder {
public:
    GeneratedTree(std::uint64_t folders, std::uint64_t files, int depth)
        : folders_(depth > 0 ? folders : 0), files_(files) {
        if (depth > 0) below_ = std::make_shared<GeneratedTree>(folders, files, depth - 1);
    }

    std::uint64_t count() const override { return folders_ + files_; }

    void child(std::uint64_t index, platform::Child& out) const override {
        const bool is_folder = index < folders_;
        out.attributes = is_folder ? platform::kAttributeDirectory : simulated::kAttributeArchive;
        const std::u16string_view stem = is_folder ? u"Folder " : kStems[index % kStems.size()];
        const std::u16string_view suffix = is_folder ? u"" : kSuffixes[index % kSuffixes.size()];
        std::uint32_t units = 0;
        for (const char16_t unit : stem) out.name[units++] = unit;
        for (std::uint64_t scale = 1000; scale > 0; scale /= 10) {
            out.name[units++] = static_cast<char16_t>(u'0' + index / scale % 10);
        }
        for (const char16_t unit : suffix) out.name[units++] = unit;
        out.name_units = units;
    }

    std::shared_ptr<const GeneratedFolder> folder(std::u16string_view) const override {
        return below_;
    }

    std::uint64_t entries() const {
        return count() + (below_ != nullptr ? folders_ * below_->entries() : 0);
    }

private:
    static constexpr std::array<std::u16string_view, 5> kStems = {u"Report ", u"img_", u"lib-core-",
                                                                  u"Translation.", u"x"};
    static constexpr std::array<std::u16string_view, 3> kSuffixes = {u".txt", u".dll",
                                                                     u".manifest"};

    std::uint64_t folders_;
    std::uint64_t files_;
    std::shared_ptr<GeneratedTree> below_;
};

}  // namespace system_search::bench
