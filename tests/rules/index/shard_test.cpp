#include "index/shard.hpp"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "index/signature.hpp"
#include "rules/index/path_corpus.hpp"

namespace system_search {
namespace {

// One shard of files, paths as given.
Batch batch_of(const std::vector<std::string>& paths) {
    Batch batch;
    for (const std::string& path : paths) batch.add(path, kKindFile);
    return batch;
}

std::vector<std::string> paths_in(const Shard& shard) {
    std::vector<std::string> paths;
    for (std::uint32_t i = 0; i < shard.size(); ++i) paths.push_back(shard.entry(i).path);
    return paths;
}

TEST(Shard, gives_back_every_path_byte_for_byte) {
    std::string all_bytes;
    for (int byte = 1; byte < 256; ++byte) all_bytes += static_cast<char>(byte);
    const std::vector<std::string> paths = {
        "C:/Users/Ann/NOTES.txt",
        "C:/Users/Ann/",
        "C:/Users//ann",
        "C:/",
        "//",
        "no separator",
        "x",
        "//SERVER/share/\u00C4BC.txt",
        "C:/Users/ann/B",
        "C:/Users/Ann/a",
        all_bytes,
        all_bytes + "/" + all_bytes,
        "C:/" + std::string(kMaxPathBytes - 3, 'X'),
        "C:/" + std::string(kMaxPathBytes - 5, 'Y') + "/Z",
    };
    const Shard shard(batch_of(paths));
    EXPECT_EQ(paths_in(shard), paths);
    for (std::uint32_t i = 0; i < shard.size(); ++i) {
        EXPECT_EQ(shard.run_of(i).bytes + shard.folded_name(i).size(), paths[i].size()) << paths[i];
    }
}

TEST(Shard, gives_back_names_and_folders_of_every_length_with_a_capital_at_every_place) {
    for (std::size_t bytes = 1; bytes <= 40; ++bytes) {
        std::vector<std::string> paths = {"z/" + std::string(bytes, 'z')};
        for (std::size_t capital = 0; capital < bytes; ++capital) {
            std::string text(bytes, 'z');
            text[capital] = 'Z';
            paths.push_back(text + "/" + std::string(bytes, 'z'));
            paths.push_back("z/" + text);
        }
        ASSERT_EQ(paths_in(Shard(batch_of(paths))), paths);
    }
}

TEST(Shard, gives_back_whole_trees) {
    for (std::uint32_t seed = 1; seed <= 8; ++seed) {
        PathCorpus corpus(seed);
        std::vector<std::string> paths;
        for (std::size_t i = 0; i < kShardEntries; ++i) paths.push_back(corpus.next());
        ASSERT_EQ(paths_in(Shard(batch_of(paths))), paths) << "seed " << seed;
    }
}

TEST(Shard, keeps_order_kinds_and_duplicates) {
    Batch batch;
    batch.add("C:/b", kKindFolder);
    batch.add("C:/b/", "z", kKindFile);
    batch.add("C:/b/", "a", kKindFolder);
    batch.add("C:/a", kKindFile);
    batch.add("C:/a", kKindFile);
    const Shard shard(batch);
    EXPECT_EQ(paths_in(shard),
              (std::vector<std::string>{"C:/b", "C:/b/z", "C:/b/a", "C:/a", "C:/a"}));
    const std::uint32_t kinds[] = {2, 1, 2, 1, 1};
    for (std::uint32_t i = 0; i < 5; ++i) EXPECT_EQ(shard.entry(i).kind, kinds[i]) << i;
    EXPECT_EQ(shard.folder_count(), 2u);
}

TEST(Shard, of_any_size_holds_all_entries) {
    for (const std::uint32_t count : {1u, 63u, 64u, 65u, 1023u, 1024u}) {
        std::vector<std::string> paths;
        for (std::uint32_t i = 0; i < count; ++i) paths.push_back("C:/F/N" + std::to_string(i));
        const Shard shard(batch_of(paths));
        EXPECT_EQ(shard.size(), count);
        EXPECT_EQ(shard.words(), (count + 63) / 64);
        ASSERT_EQ(paths_in(shard), paths);
    }
}

TEST(Shard, names_and_folders_are_folded) {
    const Shard shard(batch_of({"C:/Temp/\u00C4BC.txt", "NAME"}));
    EXPECT_EQ(shard.folded_name(0), "\u00C4bc.txt");
    EXPECT_EQ(shard.folded_folder(shard.run_of(0)), "c:/temp/");
    EXPECT_EQ(shard.folded_name(1), "name");
    EXPECT_EQ(shard.folded_folder(shard.run_of(1)), "");
    EXPECT_EQ(shard.folder_texts(), "c:/temp/");
}

TEST(Shard, tells_which_texts_hold_uppercase_wherever_they_stand) {
    for (std::size_t capital = 0; capital < 50; ++capital) {
        std::string name(50, 'x');
        name[capital] = 'X';
        const Shard shard(batch_of({"C:/" + name, "c:/y/" + std::string(50, 'y')}));
        ASSERT_TRUE(shard.has_uppercase(shard.folded_name(0)));
        ASSERT_TRUE(shard.has_uppercase(shard.folded_folder(shard.run_of(0))));
        ASSERT_FALSE(shard.has_uppercase(shard.folded_name(1)))
            << "its neighbours' are not its own";
        ASSERT_FALSE(shard.has_uppercase(shard.folded_folder(shard.run_of(1))));
    }
}

TEST(Shard, runs_hold_neighbours_of_one_stored_folder) {
    const Shard shard(batch_of({"C:/Music/a", "C:/Music/Live/b", "C:/Music/Live/c", "C:/Music/d",
                                "C:/music/e", "g", "C:/h"}));
    struct Run {
        std::string_view folder;
        std::uint32_t first;
        std::uint32_t end;
    };
    const std::vector<Run> expected = {{"c:/music/", 0, 1}, {"c:/music/live/", 1, 3},
                                       {"c:/music/", 3, 4}, {"c:/music/", 4, 5},
                                       {"", 5, 6},          {"c:/", 6, 7}};
    ASSERT_EQ(shard.runs().size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        const FolderRun& run = shard.runs()[i];
        EXPECT_EQ(shard.folded_folder(run), expected[i].folder) << i;
        EXPECT_EQ(run.first, expected[i].first) << i;
        EXPECT_EQ(shard.end_of(run), expected[i].end) << i;
        for (std::uint32_t entry = run.first; entry < shard.end_of(run); ++entry) {
            EXPECT_EQ(&shard.run_of(entry), &run) << entry;
        }
    }
    const auto start = [&](std::size_t run) { return shard.runs()[run].start; };
    EXPECT_EQ(start(0), start(2)) << "one text, also after a subfolder";
    EXPECT_NE(start(0), start(3)) << "folders that fold alike keep their own uppercase";
}

TEST(Shard, bitmaps_hold_the_signature_of_every_name) {
    Batch batch;
    PathCorpus corpus(/*seed=*/3);
    std::vector<std::string> names;
    for (std::size_t i = 0; i < 1000; ++i) {
        const std::string path = corpus.next();
        names.push_back(path.substr(path.rfind('/') + 1));
        batch.add(path, i % 3 == 0 ? kKindFolder : kKindFile);
    }
    const Shard shard(batch);
    for (std::uint32_t i = 0; i < shard.size(); ++i) {
        std::set<unsigned> expected;
        for_signature_bits(shard.folded_name(i), [&](unsigned bit) { expected.insert(bit); });
        if (i % 3 == 0) expected.insert(kFolderBit);
        if (names[i] != shard.folded_name(i)) expected.insert(kUppercaseBit);
        for (unsigned bit = 0; bit < kSignatureBits; ++bit) {
            ASSERT_EQ(shard.has(bit, i), expected.count(bit) == 1) << names[i] << " bit " << bit;
        }
    }
    for (unsigned bit = 0; bit < kSignatureBits; ++bit) {
        ASSERT_EQ(shard.signature(bit)[shard.words() - 1] >> (shard.size() % 64), 0u)
            << "no entries";
    }
}

TEST(Shard, least_entry_comes_first_in_result_order) {
    const auto least = [](const std::vector<std::string>& paths) {
        const Shard shard(batch_of(paths));
        return shard.entry(shard.least()).path;
    };
    EXPECT_EQ(least({"C:/b", "C:/A/z", "C:/a/y"}), "C:/a/y");
    EXPECT_EQ(least({"C:/a/x", "C:/A/x"}), "C:/A/x");
    EXPECT_EQ(least({"C:/a/x", "C:/a"}), "C:/a");
    EXPECT_EQ(least({"C:/a/long name 2", "C:/a/long name 1", "C:/a/long name"}), "C:/a/long name");
    EXPECT_EQ(least({"C:/a/same names", "C:/a/Same names"}), "C:/a/Same names");
    EXPECT_EQ(least({"C:/a/b", "C:/a/"}), "C:/a/");
    EXPECT_EQ(least({"C:/a/b", "C:/a/", "C:/a/later"}), "C:/a/")
        << "an empty name has no part in the bytes behind it";
    EXPECT_EQ(least({"C:/a/bb", "C:/a/b", "C:/a/later"}), "C:/a/b");
    EXPECT_EQ(least({"C:/a/\u00E9", "C:/a/z"}), "C:/a/z") << "bytes have no sign";
}

TEST(ResultOrder, is_that_of_folded_paths_and_then_of_stored_paths) {
    const std::vector<std::string> texts = {"a", "B", "/", "!", "\u00E9"};
    std::vector<std::string> paths;
    for (const std::string& first : texts) {
        for (const std::string& second : texts) {
            for (const std::string& third : texts) {
                paths.push_back("A/" + first + second + third);
                paths.push_back("a/" + first + second + third);
                paths.push_back(first + second + third);
            }
        }
    }
    const Shard one(batch_of(paths));
    const Shard other(batch_of(paths));
    for (std::uint32_t a = 0; a < one.size(); ++a) {
        const Entry left = one.entry(a);
        for (std::uint32_t b = 0; b < other.size(); ++b) {
            const Entry right = other.entry(b);
            const bool before = left.folded_path != right.folded_path
                                    ? left.folded_path < right.folded_path
                                    : left.path < right.path;
            ASSERT_EQ(orders_before({&one, a}, {&other, b}), before)
                << left.path << " and " << right.path;
        }
    }
}

double share_of_estimate(const std::vector<std::string>& paths) {
    std::uint64_t estimate = 0;
    for (const std::string& path : paths) estimate += memory_estimate(path.size());
    return static_cast<double>(Shard(batch_of(paths)).memory_bytes()) /
           static_cast<double>(estimate);
}

TEST(Shard, keeps_at_most_three_tenths_of_the_memory_estimate) {
    PathCorpus corpus(/*seed=*/1);
    std::vector<std::string> paths;
    for (std::size_t i = 0; i < kShardEntries; ++i) paths.push_back(corpus.next());
    EXPECT_LE(share_of_estimate(paths), 0.3);
    EXPECT_GT(share_of_estimate(paths), 0.1) << "less than every name once: the measure is wrong";
}

// The limit of 1 GiB is stated on the estimate; what is really kept stays below it.
TEST(Shard, keeps_less_than_the_memory_estimate_at_worst) {
    std::vector<std::string> short_names;
    std::vector<std::string> own_folders;
    std::vector<std::string> longest;
    for (std::size_t i = 0; i < kShardEntries; ++i) {
        const std::string number = std::to_string(i);
        short_names.push_back("C:/x");
        own_folders.push_back("C:/" + number + "/" + number);
        longest.push_back("C:/" + number + std::string(kMaxPathBytes - 10, 'X') + "/x");
    }
    EXPECT_LE(share_of_estimate(short_names), 0.5);
    EXPECT_LE(share_of_estimate(own_folders), 0.6);
    EXPECT_LE(share_of_estimate(longest), 0.6);
}

}  // namespace
}  // namespace system_search
