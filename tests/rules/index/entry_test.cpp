#include "index/entry.hpp"

#include <gtest/gtest.h>

#include <string>

namespace system_search {
namespace {

TEST(Entry, name_begins_behind_the_last_slash) {
    struct Row {
        std::string path;
        std::uint32_t name_offset;
    };
    const Row rows[] = {
        {"C:/Users/ann/notes.txt", 13},
        {"notes.txt", 0},
        {"/notes.txt", 1},
        {"C:/", 3},
        {"C:/folder/", 10},
        {"//server/share/x", 15},
        {"C:\\not\\a\\separator", 0},
        {"C:/a\\b", 3},
    };
    for (const Row& row : rows) {
        const Entry entry(row.path, kKindFile);
        EXPECT_EQ(entry.path, row.path);
        EXPECT_EQ(entry.name_offset, row.name_offset) << row.path;
    }
}

TEST(Entry, folding_lowers_ascii_letters_and_nothing_else) {
    EXPECT_EQ(Entry("C:/Temp/\u00C4BC.txt", kKindFile).folded_path, "c:/temp/\u00C4bc.txt");
    std::string all_bytes;
    std::string folded;
    for (int byte = 1; byte < 256; ++byte) {
        all_bytes += static_cast<char>(byte);
        folded += static_cast<char>(byte >= 'A' && byte <= 'Z' ? byte | 0x20 : byte);
    }
    EXPECT_EQ(Entry(all_bytes, kKindFile).folded_path, folded);
}

TEST(Entry, keeps_its_kind) {
    EXPECT_EQ(Entry("C:/a", kKindFile).kind, 1u);
    EXPECT_EQ(Entry("C:/a", kKindFolder).kind, 2u);
}

TEST(MemoryEstimate, counts_the_path_twice_and_72_bytes) {
    EXPECT_EQ(memory_estimate(0), 72u);
    EXPECT_EQ(memory_estimate(5), 82u);
    EXPECT_EQ(memory_estimate(kMaxPathBytes), 65'608u);
}

}  // namespace
}  // namespace system_search
