// Paths like those of a Windows disk, from a seed: folders a few levels deep, a dozen files each,
// in the order of a depth-first walk.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace system_search {

class PathCorpus {
public:
    explicit PathCorpus(std::uint32_t seed) : random_(seed) {}

    std::string next() {
        // On average 12 files, then a folder is entered or left.
        if (below(12) == 0) change_folder();
        return folder_ + name();
    }

private:
    std::size_t below(std::size_t end) { return random_() % end; }

    void change_folder() {
        if (levels_.size() > 9 || (levels_.size() > 3 && below(2) == 0)) {
            for (std::size_t up = 1 + below(2); up > 0; --up) {
                folder_.resize(levels_.back());
                levels_.pop_back();
            }
        }
        levels_.push_back(folder_.size());
        folder_ += kFolders[below(kFolders.size())];
        if (below(3) == 0) folder_ += "-" + std::to_string(below(100));
        folder_ += '/';
    }

    std::string name() {
        std::string text(kStems[below(kStems.size())]);
        text += kStems[below(kStems.size())];
        if (below(2) == 0) text += std::to_string(below(10000));
        text += kSuffixes[below(kSuffixes.size())];
        return text;
    }

    static constexpr std::array<std::string_view, 12> kFolders = {
        "Program Files", "Microsoft.Windows", "AppData", "Local", "packages",
        "node_modules",  "resources",         "en-US",   "src",   "Bilder",
        "cache",         "Documents"};
    static constexpr std::array<std::string_view, 10> kStems = {
        "index", "Report", "IMG_", "system", "Config", "module-", "test_", "README", "x64", "data"};
    static constexpr std::array<std::string_view, 8> kSuffixes = {
        ".dll", ".txt", ".JPG", ".js", ".json", ".manifest", "", ".docx"};

    std::mt19937 random_;
    std::string folder_ = "C:/Users/ann/";
    std::vector<std::size_t> levels_;
};

}  // namespace system_search
