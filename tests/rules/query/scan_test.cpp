// The scan against the reference implementation: all small inputs, then random ones.
#include "query/scan.hpp"

#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <ctime>
#include <random>
#include <sstream>
#include <thread>

#include "rules/query/reference_search.hpp"
#include "system_search.h"

namespace system_search {
namespace {

std::string readable(std::string_view text) {
    std::ostringstream out;
    for (const char byte : text) {
        const auto value = static_cast<unsigned char>(byte);
        if (value >= 0x20 && value < 0x7F) {
            out << byte;
        } else {
            out << "\\x" << std::hex << static_cast<unsigned>(value) << std::dec;
        }
    }
    return out.str();
}

// The same entries for the scan and for the reference implementation.
struct Searched {
    explicit Searched(std::vector<Entry> all, std::size_t shard_entries = kShardEntries)
        : entries(std::move(all)) {
        Batch batch;
        for (const Entry& entry : entries) {
            batch.add(entry.path, entry.kind);
            if (batch.size() == shard_entries) add_shard(batch);
        }
        if (!batch.empty()) add_shard(batch);
    }

    void add_shard(Batch& batch) {
        shards.push_back(std::make_shared<const Shard>(batch));
        batch.clear();
    }

    std::vector<Entry> entries;
    ShardList shards;
};

// One assertion for a whole query: these loops run millions of times.
::testing::AssertionResult same_answer(const Searched& searched, std::string_view text,
                                       std::uint32_t flags, std::uint32_t kind,
                                       std::uint32_t limit) {
    const reference::Answer wanted =
        reference::search(searched.entries, std::string(text), flags, kind, limit);
    const Pattern pattern(text, flags);
    TopK top_k(limit);
    const std::atomic<bool> cancel{false};
    std::uint32_t matched = 0;
    const bool finished = scan(searched.shards, pattern, kind, cancel, top_k, matched);
    const std::vector<EntryRef> results = top_k.take_sorted();

    const auto failure = [&] {
        return ::testing::AssertionFailure() << "text \"" << readable(text) << "\" flags " << flags
                                             << " kind " << kind << " limit " << limit << ": ";
    };
    if (!finished) return failure() << "cancelled";
    if (matched != wanted.matched || results.size() != wanted.results.size()) {
        return failure() << "matched " << matched << " not " << wanted.matched << ", results "
                         << results.size() << " not " << wanted.results.size();
    }
    for (std::size_t i = 0; i < results.size(); ++i) {
        const Entry result = results[i].shard->entry(results[i].number);
        if (result.path != wanted.results[i]->path) {
            return failure() << "result " << i << " \"" << readable(result.path) << "\" not \""
                             << readable(wanted.results[i]->path) << "\"";
        }
        if (result.kind != wanted.results[i]->kind) return failure() << "kind of " << i;
    }
    return ::testing::AssertionSuccess();
}

// All texts of up to `length` of these symbols, the empty one included.
std::vector<std::string> all_texts(const std::vector<std::string>& symbols, std::size_t length) {
    std::vector<std::string> texts{""};
    std::size_t first = 0;
    for (std::size_t i = 0; i < length; ++i) {
        const std::size_t end = texts.size();
        for (; first < end; ++first) {
            for (const std::string& symbol : symbols) texts.push_back(texts[first] + symbol);
        }
    }
    return texts;
}

TEST(Scan, agrees_with_the_reference_over_all_small_inputs) {
    // A lower and an upper letter, the wildcards as ordinary bytes of a name, the separator, a
    // code point of two bytes and half of it alone.
    const std::vector<std::string> symbols = {"a", "B", "*", "/", "\xC3\xA9", "\xA9"};
    std::vector<Entry> entries;
    for (const std::string& path : all_texts(symbols, 4)) {
        if (!path.empty()) entries.emplace_back(path, 1 + entries.size() % 2);
    }
    const Searched searched(std::move(entries));
    for (const std::string& text : all_texts({"a", "b", "*", "?", "/", "\xC3\xA9", "\xA9"}, 4)) {
        for (std::uint32_t flags = 0; flags < 4; ++flags) {
            ASSERT_TRUE(same_answer(searched, text, flags, 0, 3));
        }
    }
    for (const std::string& text : all_texts({"A", "B", "*", "?", "/"}, 3)) {
        for (std::uint32_t flags = 0; flags < 4; ++flags) {
            for (std::uint32_t kind = 0; kind < 3; ++kind) {
                ASSERT_TRUE(same_answer(searched, text, flags, kind, 1000));
            }
        }
    }
}

// Deep enough for several stars, each in the folder, in the name, or across the two.
TEST(Scan, agrees_with_the_reference_over_all_small_paths_and_stars) {
    std::vector<Entry> entries;
    for (const std::string& path : all_texts({"a", "b", "/"}, 6)) {
        if (!path.empty()) entries.emplace_back(path, 1);
    }
    std::stable_sort(entries.begin(), entries.end(),
                     [](const auto& a, const auto& b) { return a.path < b.path; });
    const Searched searched(std::move(entries));
    for (const std::string& text : all_texts({"a", "b", "/", "*"}, 6)) {
        ASSERT_TRUE(same_answer(searched, text, /*flags=*/1, 0, 2));
    }
    for (const std::string& text : all_texts({"a", "/", "*", "?"}, 5)) {
        ASSERT_TRUE(same_answer(searched, text, /*flags=*/1, 0, 2));
    }
}

// Dots begin extensions, which have their limits: of 8 bytes, of ASCII, of the kept case.
TEST(Scan, agrees_with_the_reference_over_all_small_names_and_dots) {
    std::vector<Entry> entries;
    for (const std::string& name : all_texts({"a", "B", ".", "\xC3\xA9"}, 5)) {
        if (!name.empty()) entries.emplace_back("C:/" + name, 1);
    }
    for (const std::string& name : all_texts({"a", ".", "bcdefg"}, 4)) {
        if (name.size() > 5) entries.emplace_back("C:/" + name, 1);
    }
    const Searched searched(std::move(entries));
    for (const std::string& text : all_texts({"a", ".", "*", "?"}, 5)) {
        ASSERT_TRUE(same_answer(searched, text, /*flags=*/0, 0, 2));
    }
    for (const std::string& text : all_texts({"a", "B", ".", "*", "bcdefg"}, 4)) {
        for (const std::uint32_t flags : {std::uint32_t{0}, SS_MATCH_CASE}) {
            ASSERT_TRUE(same_answer(searched, text, flags, 0, 2));
        }
    }
    for (std::size_t marks = 0; marks < 12; ++marks) {
        for (const char* const end : {".*", ".", ".?*", "a*", ".*a"}) {
            ASSERT_TRUE(same_answer(searched, std::string(marks, '?') + end, 0, 0, 2));
        }
    }
}

// Each byte in shards of its own, so that nothing else sets the bits of its class for it.
TEST(Scan, agrees_with_the_reference_on_every_byte_alone_and_beside_another) {
    std::vector<Entry> entries;
    std::vector<std::string> texts;
    for (unsigned value = 1; value < 256; ++value) {
        const std::string byte(1, static_cast<char>(value));
        if (byte == "/") continue;
        for (const std::string& text : {byte, "x" + byte, byte + "x"}) {
            entries.emplace_back("C:/" + text, 1);
            entries.emplace_back("C:/" + text + "/y", 1);
            texts.push_back(text);
        }
    }
    const Searched searched(std::move(entries), /*shard_entries=*/1);
    for (const std::string& text : texts) {
        for (std::uint32_t flags = 0; flags < 4; ++flags) {
            ASSERT_TRUE(same_answer(searched, text, flags, 0, 5));
            ASSERT_TRUE(same_answer(searched, "*" + text, flags, 0, 5));
        }
    }
}

// More extensions than a shard numbers.
TEST(Scan, agrees_with_the_reference_on_very_many_extensions) {
    std::vector<Entry> entries;
    for (int i = 0; i < 3000; ++i) {
        entries.emplace_back("C:/name" + std::to_string(i) + "." + std::to_string(i % 700), 1);
    }
    const Searched searched(std::move(entries));
    for (int i = 0; i < 700; ++i) {
        const std::string number = std::to_string(i);
        for (const std::string& text : {"*." + number, number, "." + number, "*" + number}) {
            ASSERT_TRUE(same_answer(searched, text, 0, 0, 1000));
        }
    }
}

// Texts of every length around those that are searched in one piece, 32 and 63 bytes.
TEST(Scan, agrees_with_the_reference_on_stars_in_names_of_every_length) {
    std::vector<Entry> entries;
    for (std::size_t length = 4; length < 80; ++length) {
        for (std::size_t place = 0; place + 3 <= length; ++place) {
            std::string name(length, '-');
            name.replace(place, 2, "ab");
            name.back() = 'c';
            entries.emplace_back("C:/" + name, 1);
        }
    }
    const Searched searched(std::move(entries));
    for (const char* const text :
         {"*a*b*c*", "*ab*c*", "*a*bc*", "*-a*b-*c", "*a*c*b*", "*a*b*-c", "-*a*b*c*", "*ab*-*-*c*",
          "*a*b*c*c*", "*----*ab*--*", "*abc*", "*a*b*ab*"}) {
        ASSERT_TRUE(same_answer(searched, text, 0, 0, 5));
    }
}

TEST(Scan, agrees_with_the_reference_on_patterns_of_very_many_stars) {
    std::vector<Entry> entries;
    for (std::size_t length = 1; length < 90; ++length) {
        entries.emplace_back("C:/" + std::string(length, 'a') + "/" + std::string(90 - length, 'a'),
                             1);
        entries.emplace_back("C:/b/" + std::string(length, 'a'), 1);
    }
    const Searched searched(std::move(entries));
    for (std::size_t stars = 1; stars < 90; ++stars) {
        std::string text;
        for (std::size_t i = 0; i < stars; ++i) text += "*a";
        for (const std::string& pattern : {text, text + "*", "a" + text, "c:/" + text}) {
            for (std::uint32_t flags = 0; flags < 4; ++flags) {
                ASSERT_TRUE(same_answer(searched, pattern, flags, 0, 10));
            }
        }
    }
}

TEST(Scan, agrees_with_the_reference_on_shards_of_every_size_around_a_word) {
    for (const std::size_t size : {1u, 2u, 63u, 64u, 65u, 127u, 128u, 1023u, 1024u, 1025u, 3000u}) {
        std::vector<Entry> entries;
        for (std::size_t i = 0; i < size; ++i) {
            entries.emplace_back("C:/F" + std::to_string(i / 7) + "/n" + std::to_string(i),
                                 i % 7 == 0 ? 2 : 1);
        }
        const Searched searched(std::move(entries), std::min<std::size_t>(size, kShardEntries));
        for (const char* const text :
             {"", "n", "n1", "f1", "*1", "c:/f1/*", "1/n", "f?/n1*", "zz"}) {
            for (std::uint32_t flags = 0; flags < 4; ++flags) {
                for (std::uint32_t kind = 0; kind < 3; ++kind) {
                    ASSERT_TRUE(same_answer(searched, text, flags, kind, 10)) << size;
                }
            }
        }
    }
}

TEST(Scan, agrees_with_the_reference_on_patterns_of_many_thousand_stars) {
    std::vector<Entry> entries;
    for (const std::size_t length : {1u, 4'999u, 5'000u, 5'001u, 9'000u}) {
        entries.emplace_back("C:/" + std::string(length, 'a'), 1);
        entries.emplace_back("C:/" + std::string(length, 'a') + "/\u00E9", 1);
    }
    const Searched searched(std::move(entries));
    for (const char* const part : {"*a", "*?", "a*?", "?*a"}) {
        std::string text;
        for (std::size_t stars = 0; stars < 5'000; ++stars) text += part;
        for (std::uint32_t flags = 0; flags < 4; ++flags) {
            ASSERT_TRUE(same_answer(searched, text, flags, 0, 10));
            ASSERT_TRUE(same_answer(searched, text + "*", flags, 0, 10));
        }
    }
}

TEST(Scan, agrees_with_the_reference_on_marks_alone_and_stars_alone) {
    std::vector<Entry> entries;
    for (const std::string& name : all_texts({"a", "\xC3\xA9", "\xA9"}, 4)) {
        for (const char* const folder : {"", "/", "b/", "\xC3\xA9/", "b/\xA9/"}) {
            if (!(folder + name).empty()) entries.emplace_back(folder + name, 1);
        }
    }
    const Searched searched(std::move(entries));
    for (const std::string& text : all_texts({"*", "?"}, 8)) {
        for (std::uint32_t flags = 0; flags < 4; ++flags) {
            ASSERT_TRUE(same_answer(searched, text, flags, 0, 3));
        }
    }
}

// Every way in which marks lie in the folder, in the name, or across the two, and stand for the
// "/" between them; in ASCII, where bytes tell, and beyond.
TEST(Scan, agrees_with_the_reference_over_all_small_paths_and_marks) {
    for (const std::vector<std::string>& symbols :
         {std::vector<std::string>{"a", "b", "/"}, {"a", "\xC3\xA9", "/"}, {"a", "\xA9", "/"}}) {
        std::vector<Entry> entries;
        for (const std::string& path : all_texts(symbols, 5)) {
            if (!path.empty()) entries.emplace_back(path, 1);
        }
        std::stable_sort(entries.begin(), entries.end(),
                         [](const auto& a, const auto& b) { return a.path < b.path; });
        const Searched searched(std::move(entries));
        std::vector<std::string> symbols_of_texts = symbols;
        symbols_of_texts.insert(symbols_of_texts.end(), {"*", "?"});
        for (const std::string& text : all_texts(symbols_of_texts, 5)) {
            ASSERT_TRUE(same_answer(searched, text, SS_MATCH_PATH, 0, 2));
        }
    }
}

// Beyond 64 ways in which the pattern can go on in the name each path is looked at as a whole.
TEST(Scan, agrees_with_the_reference_on_paths_and_patterns_of_many_marks) {
    std::vector<Entry> entries;
    for (std::size_t folder = 1; folder < 90; folder += 4) {
        for (std::size_t name = 1; name < 90; name += 4) {
            entries.emplace_back(std::string(folder, 'a') + "/" + std::string(name, 'b'), 1);
            entries.emplace_back(std::string(folder, 'a') + "/" + std::string(name, 'b') + "\u00E9",
                                 1);
        }
    }
    const Searched searched(std::move(entries));
    for (std::size_t marks = 1; marks < 90; ++marks) {
        const std::string many(marks, '?');
        for (const std::string& text : {many, "*" + many, "*a" + many + "b*", "*a" + many + "b",
                                        "a" + many + "*", "*a" + many + "bb" + many + "*"}) {
            ASSERT_TRUE(same_answer(searched, text, SS_MATCH_PATH, 0, 3));
        }
    }
}

// ---- Cancelling ---------------------------------------------------------------------------------

TEST(Scan, cancel_is_seen_between_shards) {
    std::vector<Entry> entries;
    entries.emplace_back("C:/a", 1);
    const Searched searched(std::move(entries));
    const Pattern everything("", 0);  // asks no matcher, which would see it as well
    const std::atomic<bool> cancel{true};
    TopK top_k(10);
    std::uint32_t matched = 0;
    EXPECT_FALSE(scan(searched.shards, everything, SS_KIND_ANY, cancel, top_k, matched));
    EXPECT_EQ(matched, 0u);
}

// No name on a disk is so long, but one in a cache file may be. A whole scan of these takes
// minutes: at each place of each name a half of the pattern fits.
void expect_cancel_is_seen(const char* name_end) {
    const std::string half(8000, 'a');
    std::vector<Entry> entries;
    for (std::size_t i = 0; i < kShardEntries; ++i) {
        entries.emplace_back("C:/" + std::to_string(i) + std::string(25'000, 'a') + "b" + name_end,
                             1);
    }
    Batch batch;
    for (const Entry& entry : entries) batch.add(entry.path, entry.kind);
    // The same shard many times: what takes a second for one takes minutes for all.
    const ShardList shards(64, std::make_shared<const Shard>(batch));
    const Pattern pattern("*?" + half + "b" + half + "?*", 0);
    std::atomic<bool> cancel{false};
    TopK top_k(10);
    std::uint32_t matched = 0;
    std::atomic<bool> finished{false};
    std::thread thread(
        [&] { finished = scan(shards, pattern, SS_KIND_ANY, cancel, top_k, matched); });
    // Until it has begun to work in earnest.
    clockid_t clock{};
    ASSERT_EQ(pthread_getcpuclockid(thread.native_handle(), &clock), 0);
    timespec worked{};
    while (worked.tv_sec == 0 && worked.tv_nsec < 2'000'000) {
        std::this_thread::yield();
        clock_gettime(clock, &worked);
    }
    cancel = true;
    thread.join();
    EXPECT_FALSE(finished);
}

TEST(Scan, cancel_is_seen_within_a_shard) {
    expect_cancel_is_seen("");
}

TEST(Scan, cancel_is_seen_within_a_shard_of_names_beyond_ascii) {
    expect_cancel_is_seen("\u00E9");
}

// ---- Random trees -------------------------------------------------------------------------------

// A tree as a walk would find it, in which letters, words and folders repeat.
class RandomTree {
public:
    explicit RandomTree(std::uint32_t seed) : random_(seed) {}

    std::size_t below(std::size_t limit) {
        return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random_);
    }

    std::string word() {
        static const std::vector<std::string> kParts = {"a",
                                                        "b",
                                                        "ab",
                                                        "Ba",
                                                        "report",
                                                        "Report",
                                                        "x",
                                                        "X",
                                                        ".",
                                                        "..",
                                                        "-",
                                                        "_",
                                                        " ",
                                                        ".txt",
                                                        ".TXT",
                                                        "1",
                                                        "2",
                                                        "\xC3\x89",
                                                        "\xA9",
                                                        "\xE6\x97\xA5",
                                                        "\"",
                                                        "\x01",
                                                        "long enough to need more than one vector",
                                                        "Z",
                                                        "z"};
        std::string text;
        for (std::size_t parts = 1 + below(4); parts != 0; --parts)
            text += kParts[below(kParts.size())];
        return text;
    }

    std::vector<Entry> entries(std::size_t count) {
        std::vector<Entry> all;
        std::vector<std::string> folders{below(2) == 0 ? "C:" : "//Server/share"};
        while (all.size() < count) {
            const std::size_t step = below(10);
            if (step == 0 && folders.size() < 9) {
                const std::string path = folders.back() + "/" + word();
                all.emplace_back(path, 2);
                folders.push_back(path);
            } else if (step == 1 && folders.size() > 1) {
                folders.pop_back();
            } else if (step == 2 && below(40) == 0) {
                all.emplace_back(word(), 1);  // no separator at all
            } else {
                all.emplace_back(folders.back() + "/" + word(), 1);
            }
        }
        std::sort(all.begin(), all.end(),
                  [](const auto& a, const auto& b) { return a.path < b.path; });
        const auto equal = [](const auto& a, const auto& b) { return a.path == b.path; };
        all.erase(std::unique(all.begin(), all.end(), equal), all.end());
        if (below(2) == 0) {
            // Folders in any order, as a disk may give them, their children together.
            std::stable_sort(all.begin(), all.end(), [](const auto& a, const auto& b) {
                return std::hash<std::string>()(a.path.substr(0, a.name_offset)) <
                       std::hash<std::string>()(b.path.substr(0, b.name_offset));
            });
        }
        return all;
    }

    // A piece of some path, with some bytes made wildcards, upper case or wrong.
    std::string text(const std::vector<Entry>& all) {
        const std::string& path = all[below(all.size())].path;
        const std::size_t start = below(path.size());
        std::string piece = path.substr(start, 1 + below(below(3) == 0 ? path.size() : 6));
        switch (below(8)) {
            case 0:
                piece = "*" + piece;
                break;
            case 1:
                piece += "*";
                break;
            case 2:
                piece = "*" + piece + "*";
                break;
            case 3:
                piece = path.substr(path.rfind('/') + 1);
                break;
            case 4:
                piece = path;
                break;
            default:
                break;
        }
        for (std::size_t changes = below(4); changes != 0 && !piece.empty(); --changes) {
            const std::size_t at = below(piece.size());
            switch (below(7)) {
                case 0:
                    piece[at] = '?';
                    break;
                case 1:
                    piece[at] = '*';
                    break;
                case 2:
                    piece.insert(at, "*");
                    break;
                case 3:
                    piece.replace(at, 1 + below(5), "*");
                    break;
                case 4:
                    piece[at] =
                        static_cast<char>(std::toupper(static_cast<unsigned char>(piece[at])));
                    break;
                case 5:
                    piece[at] = '/';
                    break;
                default:
                    piece.erase(at, 1);
                    break;
            }
        }
        return piece;
    }

private:
    std::mt19937 random_;
};

TEST(Scan, agrees_with_the_reference_on_random_trees) {
    const std::uint32_t first_seed = std::random_device()();
    for (std::uint32_t seed = first_seed; seed != first_seed + 12; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        RandomTree random(seed);
        const std::size_t shard_entries = random.below(4) == 0 ? 50 : kShardEntries;
        const Searched searched(random.entries(1 + random.below(4000)), shard_entries);
        for (int i = 0; i < 400; ++i) {
            const std::string text = random.text(searched.entries);
            const auto flags = static_cast<std::uint32_t>(random.below(4));
            const auto kind = static_cast<std::uint32_t>(random.below(3));
            const auto limit =
                static_cast<std::uint32_t>(random.below(2) == 0 ? 1 + random.below(20) : 1000);
            ASSERT_TRUE(same_answer(searched, text, flags, kind, limit));
        }
    }
}

}  // namespace
}  // namespace system_search
