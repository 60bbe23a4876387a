#include "index/shard.hpp"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "index/path_corpus.hpp"
#include "index/signature.hpp"

namespace system_search {
namespace {

// One shard of files, paths as given.
Batch batch_of(const std::vector<std::string>& paths) {
    Batch batch;
    for (const std::string& path : paths) batch.add(path, kKindFile);
    return batch;
}

std::string folded(const Entry& entry) {
    std::string buffer;
    return std::string(entry.folded_path_in(buffer));
}

// Byte by byte, with nothing but the rule.
std::string folded_by_rule(std::string_view path) {
    std::string text(path);
    for (char& byte : text) {
        if (byte >= 'A' && byte <= 'Z') byte = static_cast<char>(byte | 0x20);
    }
    return text;
}

TEST(Shard, name_begins_behind_the_last_slash) {
    struct Row {
        std::string path;
        std::uint32_t name_offset;
        std::string name;
    };
    const std::vector<Row> rows = {
        {"C:/Users/ann/notes.txt", 13, "notes.txt"},
        {"notes.txt", 0, "notes.txt"},
        {"/notes.txt", 1, "notes.txt"},
        {"C:/", 3, ""},
        {"C:/folder/", 10, ""},
        {"//server/share/x", 15, "x"},
        {"C:\\not\\a\\separator", 0, "C:\\not\\a\\separator"},
        {"C:/a\\b", 3, "a\\b"},
    };
    for (const Row& row : rows) {
        const Shard shard(batch_of({row.path}));
        const Entry& entry = shard.entries[0];
        EXPECT_EQ(entry.name_offset, row.name_offset) << row.path;
        EXPECT_EQ(entry.name(), row.name);
        EXPECT_EQ(entry.folded_name(), folded_by_rule(row.name));
        EXPECT_EQ(entry.folded_folder(), folded_by_rule(row.path.substr(0, row.name_offset)));
    }
}

TEST(Shard, folding_lowers_ascii_letters_and_nothing_else) {
    const Shard shard(batch_of({"C:/Temp/\u00C4BC.txt"}));
    EXPECT_EQ(shard.entries[0].path.view(), "C:/Temp/\u00C4BC.txt");
    EXPECT_EQ(folded(shard.entries[0]), "c:/temp/\u00C4bc.txt");

    std::string all_bytes;
    for (int byte = 1; byte < 256; ++byte) all_bytes += static_cast<char>(byte);
    for (const std::string& path : {all_bytes, all_bytes + "/" + all_bytes}) {
        const Shard whole(batch_of({path}));
        EXPECT_EQ(whole.entries[0].path.view(), path);
        EXPECT_EQ(folded(whole.entries[0]), folded_by_rule(path));
    }
}

TEST(Shard, texts_of_every_length_end_in_a_nul) {
    std::vector<std::string> paths;
    for (std::size_t bytes = 1; bytes <= 300; ++bytes) paths.push_back(std::string(bytes, 'Q'));
    paths.push_back("C:/" + std::string(kMaxPathBytes - 3, 'X'));
    const Shard shard(batch_of(paths));

    ASSERT_EQ(shard.entries.size(), paths.size());
    for (std::size_t i = 0; i < paths.size(); ++i) {
        const Entry& entry = shard.entries[i];
        ASSERT_EQ(entry.path.size(), paths[i].size());
        ASSERT_STREQ(entry.path.c_str(), paths[i].c_str());
        ASSERT_EQ(std::strlen(entry.folded_path.folder), entry.name_offset);
        ASSERT_EQ(std::strlen(entry.folded_path.name), paths[i].size() - entry.name_offset);
        ASSERT_EQ(folded(entry), folded_by_rule(paths[i]));
    }
}

TEST(Shard, entries_keep_the_order_and_the_kinds_of_the_batch) {
    Batch batch;
    batch.add("C:/b", kKindFolder);
    batch.add("C:/b/", "z", kKindFile);
    batch.add("C:/b/", "a", kKindFolder);
    batch.add("C:/a", kKindFile);
    batch.add("C:/a", kKindFile);  // nothing is checked for duplicates
    const Shard shard(batch);

    ASSERT_EQ(shard.entries.size(), 5u);
    EXPECT_EQ(shard.folders, 2u);
    const std::vector<std::pair<std::string_view, std::uint32_t>> expected = {
        {"C:/b", kKindFolder}, {"C:/b/z", kKindFile}, {"C:/b/a", kKindFolder},
        {"C:/a", kKindFile},   {"C:/a", kKindFile},
    };
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(shard.entries[i].path.view(), expected[i].first);
        EXPECT_EQ(shard.entries[i].kind, expected[i].second);
    }
}

TEST(Shard, entries_of_one_folder_share_its_folded_text) {
    const Shard shard(batch_of(
        {"C:/Music/a", "C:/Music/Live/b", "C:/Music/Live/c", "C:/Music/d", "C:/MusicX/e", "C:/f"}));
    const auto folder = [&](std::size_t i) { return shard.entries[i].folded_path.folder; };
    EXPECT_EQ(folder(1), folder(2));
    EXPECT_EQ(folder(0), folder(3)) << "also after a subfolder";
    EXPECT_NE(folder(0), folder(1));
    EXPECT_NE(folder(3), folder(4));
    EXPECT_EQ(shard.entries[4].folded_folder(), "c:/musicx/");
    EXPECT_EQ(shard.entries[5].folded_folder(), "c:/");
}

// Folders that differ in case only are different folders with equal folded texts.
TEST(Shard, folders_that_differ_in_case_keep_their_own_paths) {
    const Shard shard(batch_of({"C:/Music/a", "C:/music/a"}));
    EXPECT_EQ(shard.entries[0].path.view(), "C:/Music/a");
    EXPECT_EQ(shard.entries[1].path.view(), "C:/music/a");
    EXPECT_EQ(folded(shard.entries[0]), folded(shard.entries[1]));
}

TEST(Shard, names_stand_behind_one_another_in_entry_order) {
    const Shard shard(batch_of({"C:/One", "C:/Two/three", "FOUR", "C:/"}));
    using namespace std::string_view_literals;
    EXPECT_EQ(std::string_view(shard.names, shard.name_starts[4]), "one\0three\0four\0\0"sv);
    for (std::uint32_t i = 0; i < shard.entries.size(); ++i) {
        EXPECT_EQ(shard.folded_name(i), shard.entries[i].folded_name());
        EXPECT_EQ(shard.folded_name(i).data(), shard.entries[i].folded_path.name);
    }
}

TEST(Shard, of_any_size_holds_all_entries_in_order) {
    for (const std::uint32_t count : {1u, 63u, 64u, 65u, 1023u, 1024u}) {
        std::vector<std::string> paths;
        for (std::uint32_t i = 0; i < count; ++i) paths.push_back("C:/f/" + std::to_string(i));
        const Shard shard(batch_of(paths));
        EXPECT_EQ(shard.size, count);
        EXPECT_EQ(shard.entries.size(), count);
        EXPECT_EQ(shard.words, (count + 63) / 64);
        for (std::uint32_t i = 0; i < count; ++i) {
            ASSERT_EQ(shard.folded_name(i), std::to_string(i)) << count;
        }
    }
}

TEST(Shard, runs_hold_neighbours_of_one_stored_folder_and_what_it_shares_with_the_one_before) {
    const Shard shard(batch_of({"C:/Music/a", "C:/Music/Live/b", "C:/Music/Live/c", "C:/Music/d",
                                "C:/music/e", "C:/MusicX/f", "g", "C:/h"}));
    struct Run {
        std::string_view folder;
        std::uint16_t first;
        std::uint16_t shared_bytes;
    };
    const std::vector<Run> expected = {{"c:/music/", 0, 0},  {"c:/music/live/", 1, 9},
                                       {"c:/music/", 3, 9},  {"c:/music/", 4, 3},
                                       {"c:/musicx/", 5, 3}, {"", 6, 0},
                                       {"c:/", 7, 0}};
    ASSERT_EQ(shard.run_count, expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(shard.folded_folder(shard.runs[i]), expected[i].folder) << i;
        EXPECT_EQ(shard.runs[i].first, expected[i].first) << i;
        EXPECT_EQ(shard.runs[i].shared_bytes, expected[i].shared_bytes) << i;
    }
    EXPECT_EQ(shard.runs[shard.run_count].first, shard.entries.size());
}

TEST(Shard, columns_hold_the_signature_of_every_name) {
    Batch batch;
    PathCorpus corpus(/*seed=*/3);
    for (std::size_t i = 0; i < 1000; ++i) batch.add(corpus.next(), i % 3 == 0 ? 2 : 1);
    const Shard shard(batch);
    for (std::uint32_t i = 0; i < shard.size; ++i) {
        const Entry& entry = shard.entries[i];
        Signature signature = name_signature(entry.folded_name());
        if (entry.kind == kKindFolder) signature.words[0] |= 1u << kFolderBit;
        if (entry.name() != entry.folded_name()) signature.words[0] |= 1u << kUpperNameBit;
        for (unsigned bit = 0; bit < kSignatureBits; ++bit) {
            ASSERT_EQ(shard.column(bit)[i / 64] >> (i % 64) & 1,
                      signature.words[bit / 64] >> (bit % 64) & 1);
        }
    }
    for (std::uint32_t i = shard.size; i < shard.words * 64; ++i) {
        for (unsigned bit = 0; bit < kSignatureBits; ++bit) {
            ASSERT_EQ(shard.column(bit)[i / 64] >> (i % 64) & 1, 0u) << "no entry " << i;
        }
    }
}

TEST(Shard, numbers_the_endings_of_its_names) {
    const Shard shard(batch_of({"C:/a.TXT", "C:/b.gz", "C:/c", "C:/d.txt", "C:/.gz", "C:/e.",
                                "C:/f.tar.gz", "C:/g.1234567", "C:/h.12345678", "C:/i.\u00C9Z"}));
    const std::vector<std::string_view> expected = {".txt", ".gz", "",         ".txt", ".gz",
                                                    ".",    ".gz", ".1234567", "",     ".\u00C9z"};
    for (std::size_t i = 0; i < expected.size(); ++i) {
        const unsigned number = shard.ending_numbers[i];
        ASSERT_LE(number, shard.ending_count);
        const Ending ending = number == 0 ? 0 : shard.endings[number - 1];
        EXPECT_EQ(ending_text(ending), expected[i]) << i;
    }
    EXPECT_EQ(shard.ending_count, 5u) << "each once";
}

TEST(Shard, numbers_no_more_endings_than_fit_a_byte) {
    std::vector<std::string> paths;
    for (std::size_t i = 0; i < kShardEntries; ++i) paths.push_back("C:/a." + std::to_string(i));
    const Shard shard(batch_of(paths));
    EXPECT_EQ(shard.ending_count, kMaxEndings);
    for (std::uint32_t i = 0; i < shard.size; ++i) {
        ASSERT_EQ(shard.ending_numbers[i], i < kMaxEndings ? i + 1 : 0) << i;
    }
}

TEST(Shard, knows_the_pairs_of_bytes_in_its_folders_and_tells_non_ascii_names) {
    const Shard shard(batch_of({"C:/Music/qx", "C:/Music/Live/b", "C:/Music/d"}));
    for (const std::string_view folder : {"c:/music/", "c:/music/live/"}) {
        for (std::size_t i = 1; i < folder.size(); ++i) {
            EXPECT_TRUE(shard.folder_pairs->has(folder[i - 1], folder[i])) << folder << i;
        }
    }
    EXPECT_FALSE(shard.folder_pairs->has('q', 'x')) << "of a name";
    EXPECT_FALSE(shard.folder_pairs->has('m', 'i')) << "no neighbours";
    EXPECT_FALSE(shard.has_non_ascii);
    EXPECT_TRUE(Shard(batch_of({"C:/a", "C:/\u00C9"})).has_non_ascii);
    EXPECT_FALSE(Shard(batch_of({"C:/\u00C9/a"})).has_non_ascii);
}

TEST(Shard, least_entry_comes_first_in_result_order) {
    EXPECT_EQ(Shard(batch_of({"C:/b", "C:/A/z", "C:/a/y"})).least->path.view(), "C:/a/y");
    EXPECT_EQ(Shard(batch_of({"C:/a/x", "C:/A/x"})).least->path.view(), "C:/A/x");
    EXPECT_EQ(Shard(batch_of({"C:/a/x", "C:/a"})).least->path.view(), "C:/a");
}

TEST(Shard, agrees_with_the_rule_on_whole_trees) {
    for (std::uint32_t seed = 1; seed <= 8; ++seed) {
        PathCorpus corpus(seed);
        std::vector<std::string> paths;
        for (std::size_t i = 0; i < kShardEntries; ++i) paths.push_back(corpus.next());
        const Shard shard(batch_of(paths));
        for (std::size_t i = 0; i < paths.size(); ++i) {
            ASSERT_EQ(shard.entries[i].path.view(), paths[i]) << "seed " << seed;
            ASSERT_EQ(folded(shard.entries[i]), folded_by_rule(paths[i])) << "seed " << seed;
        }
    }
}

// The limit of 1 GiB is stated on the estimate; what is really kept stays well below it.
TEST(Shard, keeps_at_most_four_fifths_of_the_memory_estimate) {
    PathCorpus corpus(/*seed=*/1);
    std::uint64_t kept = 0;
    std::uint64_t estimate = 0;
    for (int shards = 0; shards < 64; ++shards) {
        Batch batch;
        for (std::size_t i = 0; i < kShardEntries; ++i) {
            const std::string path = corpus.next();
            estimate += memory_estimate(path.size());
            batch.add(path, kKindFile);
        }
        kept += sizeof(Shard) + Shard(batch).block_bytes;
    }
    const double share = static_cast<double>(kept) / static_cast<double>(estimate);
    RecordProperty("share_of_estimate", std::to_string(share));
    EXPECT_LE(share, 0.8);
    EXPECT_GT(share, 0.4) << "less than every path once: the measure is wrong";
}

TEST(Shard, keeps_hardly_more_than_the_memory_estimate_at_worst) {
    // Every entry in a folder of its own and with an ending of its own.
    Batch batch;
    std::uint64_t estimate = 0;
    std::string path;
    while (batch.size() < kShardEntries) {
        path = "C:/" + std::to_string(batch.size()) + "/." + std::to_string(batch.size());
        batch.add(path, kKindFolder);
        estimate += memory_estimate(path.size());
    }
    const std::size_t kept = Shard(batch).block_bytes + sizeof(Shard);
    EXPECT_LE(static_cast<double>(kept), 1.05 * static_cast<double>(estimate));
}

TEST(Batch, joins_folder_and_name_and_starts_anew_when_cleared) {
    Batch batch;
    EXPECT_TRUE(batch.empty());
    batch.add("C:/a/", "b", kKindFile);
    batch.add("C:/c", kKindFolder);
    ASSERT_EQ(batch.size(), 2u);
    EXPECT_EQ(batch.path(batch.records()[0]), "C:/a/b");
    EXPECT_EQ(batch.path(batch.records()[1]), "C:/c");

    batch.clear();
    EXPECT_TRUE(batch.empty());
    batch.add("D:/", "x", kKindFile);
    ASSERT_EQ(batch.size(), 1u);
    EXPECT_EQ(batch.path(batch.records()[0]), "D:/x");
}

}  // namespace
}  // namespace system_search
