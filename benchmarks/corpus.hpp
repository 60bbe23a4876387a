// The names that benchmarks run on: real paths from the lists of files that Debian publishes for
// its packages, as a walk would have found them, each folder before its contents. Where the lists
// are not installed (`apt-get install apt-file && apt-file update`) it makes up a seeded tree of
// similar shape instead, and says so.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace system_search::bench {

struct CorpusEntry {
    std::string path;
    std::uint32_t kind;  // 1 file, 2 folder
};

struct Corpus {
    std::string source;
    std::vector<CorpusEntry> entries;
};

// Turns files in the order of a walk into files and folders.
class CorpusBuilder {
public:
    CorpusBuilder(std::size_t limit, std::vector<CorpusEntry>& out) : limit_(limit), out_(out) {}

    bool full() const { return out_.size() >= limit_; }

    void add_file(std::string_view relative_path) {
        const std::string path = "C:/" + std::string(relative_path);
        const std::string_view folder = std::string_view(path).substr(0, path.rfind('/') + 1);
        std::size_t shared = 0;
        const std::size_t common = std::min(folder.size(), folder_.size());
        for (std::size_t i = 0; i < common && folder[i] == folder_[i]; ++i) {
            if (folder[i] == '/') shared = i + 1;
        }
        for (std::size_t end = folder.find('/', shared); end != std::string_view::npos && !full();
             end = folder.find('/', end + 1)) {
            if (end > 2) out_.push_back({std::string(folder.substr(0, end)), 2});
        }
        folder_ = folder;
        if (!full()) out_.push_back({path, 1});
    }

private:
    std::size_t limit_;
    std::vector<CorpusEntry>& out_;
    std::string folder_;
};

inline bool load_contents_lists(std::size_t count, Corpus& corpus) {
    namespace fs = std::filesystem;
    std::error_code error;
    fs::path largest;
    std::uintmax_t largest_bytes = 10'000'000;
    for (const fs::directory_entry& file : fs::directory_iterator("/var/lib/apt/lists", error)) {
        const std::string name = file.path().filename().string();
        if (name.find("_Contents-") == std::string::npos) continue;
        if (file.file_size(error) > largest_bytes) {
            largest = file.path();
            largest_bytes = file.file_size(error);
        }
    }
    if (largest.empty()) return false;

    const std::string command = "/usr/lib/apt/apt-helper cat-file '" + largest.string() + "'";
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> pipe(popen(command.c_str(), "r"), pclose);
    if (pipe == nullptr) return false;

    // Blocks of neighbouring lines from all over the list, so that any number of entries has the
    // same mixture. The list has some 5.7 million files; folders add a seventh to a whole one.
    constexpr std::size_t kBlockLines = 4096;
    const std::size_t stride = std::max<std::size_t>(1, 5'600'000 / count);
    CorpusBuilder builder(count, corpus.entries);
    std::string line;
    std::size_t number = 0;
    for (int c; !builder.full() && (c = std::getc(pipe.get())) != EOF;) {
        if (c != '\n') {
            line += static_cast<char>(c);
            continue;
        }
        if (number++ / kBlockLines % stride == 0) {
            // "path    section/package,section/package"
            std::size_t end = line.find_last_of(" \t");
            if (end != std::string::npos) end = line.find_last_not_of(" \t", end);
            if (end != std::string::npos)
                builder.add_file(std::string_view(line).substr(0, end + 1));
        }
        line.clear();
    }
    corpus.source = largest.filename().string();
    return builder.full();
}

inline void make_seeded_tree(std::size_t count, Corpus& corpus) {
    static const char* const kWords[] = {"share",  "doc",    "lib",   "python", "report",
                                         "Config", "test",   "data",  "README", "index",
                                         "image",  "module", "local", "html",   "icons",
                                         "Main",   "util",   "notes", "2024",   "v1"};
    static const char* const kExtensions[] = {".html", ".txt", ".png", ".so",
                                              ".py",   ".h",   ".gz",  ""};
    std::mt19937 random(20240607);
    const auto below = [&](std::size_t limit) { return random() % limit; };
    CorpusBuilder builder(count, corpus.entries);
    std::vector<std::string> folders{""};
    for (std::uint32_t serial = 0; !builder.full(); ++serial) {
        if (below(12) == 0 && folders.size() < 9) {
            folders.push_back(folders.back() + kWords[below(20)] + std::to_string(serial % 977) +
                              "/");
        } else if (below(12) == 0 && folders.size() > 1) {
            folders.pop_back();
        }
        builder.add_file(folders.back() + kWords[below(20)] + "-" + kWords[below(20)] +
                         std::to_string(serial) + kExtensions[below(8)]);
    }
    corpus.source = "a seeded tree, for lack of Debian's Contents lists";
}

inline Corpus load_corpus(std::size_t count) {
    Corpus corpus;
    if (!load_contents_lists(count, corpus)) {
        corpus.entries.clear();
        make_seeded_tree(count, corpus);
    }
    return corpus;
}

}  // namespace system_search::bench
