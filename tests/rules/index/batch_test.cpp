#include "index/batch.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace system_search {
namespace {

// The folder and the name of each entry, a "|" between them.
std::vector<std::string> split(const Batch& batch) {
    std::vector<std::string> entries;
    for (std::size_t i = 0; i < batch.size(); ++i) {
        std::size_t run = 0;
        while (run + 1 < batch.runs().size() && batch.runs()[run + 1].first <= i) ++run;
        const FolderRun& folder = batch.runs()[run];
        const std::size_t start = batch.name_starts()[i];
        const std::size_t end =
            i + 1 < batch.size() ? batch.name_starts()[i + 1] : batch.names().size();
        entries.push_back(std::string(batch.folder_texts().substr(folder.start, folder.bytes)) +
                          "|" + std::string(batch.names().substr(start, end - start)));
    }
    return entries;
}

using Entries = std::vector<std::string>;

TEST(Batch, divides_a_path_at_its_last_slash_wherever_its_two_parts_meet) {
    Batch batch;
    batch.add("C:/a/", "b", kKindFile);
    batch.add("C:/a", "/b", kKindFile);
    batch.add("C:/a/b", "", kKindFile);
    batch.add("", "C:/a/b", kKindFile);
    batch.add("C:/a/b", kKindFile);
    batch.add("C:/", "a/b", kKindFile);
    batch.add("C:/a/", "", kKindFile);
    batch.add("C:/a//", "b", kKindFile);
    batch.add("name", kKindFile);
    batch.add("na", "me", kKindFile);
    batch.add("", "name", kKindFile);
    batch.add("C:/a\\b", kKindFile);
    EXPECT_EQ(split(batch),
              (Entries{"C:/a/|b", "C:/a/|b", "C:/a/|b", "C:/a/|b", "C:/a/|b", "C:/a/|b", "C:/a/|",
                       "C:/a//|b", "|name", "|name", "|name", "C:/|a\\b"}));
}

TEST(Batch, finds_a_separator_at_every_place_of_a_path_of_every_length) {
    for (std::size_t bytes = 1; bytes < 70; ++bytes) {
        for (std::size_t slash = 0; slash < bytes; ++slash) {
            std::string path(bytes, 'x');
            path[slash] = '/';
            Batch batch;
            batch.add(path, kKindFile);
            batch.add("", path, kKindFile);
            const std::string expected = path.substr(0, slash + 1) + "|" + path.substr(slash + 1);
            ASSERT_EQ(split(batch), (Entries{expected, expected})) << path;
        }
    }
}

TEST(Batch, keeps_each_different_folder_once) {
    Batch batch;
    for (const char* const path :
         {"C:/Music/a", "C:/Music/Live/b", "C:/Music/c", "C:/music/d", "e", "C:/Music/f", "g"}) {
        batch.add(path, kKindFile);
    }
    EXPECT_EQ(batch.folder_texts(), "C:/Music/C:/Music/Live/C:/music/");
    EXPECT_EQ(split(batch), (Entries{"C:/Music/|a", "C:/Music/Live/|b", "C:/Music/|c",
                                     "C:/music/|d", "|e", "C:/Music/|f", "|g"}));
    EXPECT_EQ(batch.runs().size(), 7u);
}

TEST(Batch, tells_folders_apart_that_are_1024_in_number_and_alike) {
    Batch batch;
    Entries expected;
    for (int round = 0; round < 2; ++round) {
        for (std::size_t i = 0; i < kShardEntries / 2; ++i) {
            const std::string folder = "C:/" + std::string(i % 40, 'x') + std::to_string(i) + "/";
            batch.add(folder, "n", kKindFile);
            expected.push_back(folder + "|n");
        }
    }
    EXPECT_EQ(split(batch), expected);
    std::size_t bytes = 0;
    for (std::size_t i = 0; i < kShardEntries / 2; ++i) bytes += expected[i].size() - 2;
    EXPECT_EQ(batch.folder_texts().size(), bytes) << "each once";
}

TEST(Batch, neighbours_of_one_folder_are_one_run) {
    Batch batch;
    std::string folder = "C:/a/";
    batch.add(folder, "x", kKindFile);
    batch.add(folder, "y", kKindFile);
    folder[3] = 'b';  // another folder in the same memory, as a walk keeps it
    batch.add(folder, "z", kKindFile);
    ASSERT_EQ(batch.runs().size(), 2u);
    EXPECT_EQ(batch.runs()[0].first, 0u);
    EXPECT_EQ(batch.runs()[1].first, 2u);
    EXPECT_EQ(split(batch), (Entries{"C:/a/|x", "C:/a/|y", "C:/b/|z"}));
}

TEST(Batch, takes_paths_of_32768_bytes) {
    const std::string folder = "C:/" + std::string(kMaxPathBytes - 5, 'x') + "/";
    const std::string name(kMaxPathBytes - 3, 'y');
    Batch batch;
    batch.add(folder, "n", kKindFile);
    batch.add("C:/", name, kKindFile);
    batch.add(folder + "/", kKindFile);
    EXPECT_EQ(split(batch), (Entries{folder + "|n", "C:/|" + name, folder + "/|"}));
}

TEST(Batch, starts_anew_when_cleared) {
    Batch batch;
    EXPECT_TRUE(batch.empty());
    batch.add("C:/a/b.txt", kKindFolder);
    EXPECT_EQ(batch.size(), 1u);
    EXPECT_EQ(batch.folder_bits()[0], 1u);
    batch.clear();
    EXPECT_TRUE(batch.empty());
    batch.add("D:/x", kKindFile);
    batch.add("C:/a/b", kKindFile);
    EXPECT_EQ(split(batch), (Entries{"D:/|x", "C:/a/|b"}));
    EXPECT_EQ(batch.folder_bits()[0], 0u);
}

}  // namespace
}  // namespace system_search
