#include "query/entry_bits.hpp"

#include <gtest/gtest.h>

#include "rules/query/matched_names.hpp"

namespace system_search {
namespace {

Shard numbered(std::size_t count) {
    std::vector<std::string> paths;
    for (std::size_t i = 0; i < count; ++i) paths.push_back("C:/" + std::to_string(i));
    return shard_of(paths);
}

std::vector<std::uint32_t> entries_in(const Shard& shard, const EntryBits& bits) {
    std::vector<std::uint32_t> entries;
    for_bits(shard, bits, [&](std::uint32_t entry) { entries.push_back(entry); });
    return entries;
}

TEST(EntryBits, are_counted_and_visited_in_order) {
    const Shard shard = numbered(200);
    EntryBits bits{};
    for (const std::uint32_t entry : {0u, 63u, 64u, 130u, 199u}) {
        bits[entry / 64] |= std::uint64_t{1} << entry % 64;
    }
    EXPECT_EQ(count_bits(shard, bits), 5u);
    EXPECT_EQ(entries_in(shard, bits), (std::vector<std::uint32_t>{0, 63, 64, 130, 199}));
}

TEST(EntryBits, words_of_a_range_hold_exactly_its_bits) {
    for (std::uint32_t first = 0; first < 140; ++first) {
        for (std::uint32_t end = first; end < 140; ++end) {
            EntryBits bits{};
            for_words(first, end, [&](std::uint32_t word, std::uint64_t mask) {
                ASSERT_EQ(bits[word], 0u);
                bits[word] = mask;
            });
            for (std::uint32_t i = 0; i < 192; ++i) {
                ASSERT_EQ(bits[i / 64] >> i % 64 & 1, i >= first && i < end) << first << " " << end;
            }
        }
    }
}

TEST(EntryBits, are_kept_inside_a_range_as_asked_and_left_alone_outside) {
    const std::atomic<bool> cancel{false};
    const Shard shard = numbered(200);
    EntryBits bits;
    std::fill_n(bits, shard.words(), ~std::uint64_t{0} >> 56);
    keep_if(bits, 2, 66, cancel, [](std::uint32_t entry) { return entry % 2 == 0; });
    EXPECT_EQ(entries_in(shard, bits),
              (std::vector<std::uint32_t>{0,   1,   2,   4,   6,   64,  66,  67,  68,  69,
                                          70,  71,  128, 129, 130, 131, 132, 133, 134, 135,
                                          192, 193, 194, 195, 196, 197, 198, 199}));
}

TEST(EntryBits, are_not_looked_at_any_more_when_cancelled) {
    std::atomic<bool> cancel{false};
    const Shard shard = numbered(200);
    EntryBits bits;
    std::fill_n(bits, shard.words(), ~std::uint64_t{0});
    std::uint32_t asked = 0;
    const auto keep = [&](std::uint32_t entry) {
        ++asked;
        cancel = entry == 9;
        return true;
    };
    keep_if(bits, 0, 200, cancel, keep);
    EXPECT_EQ(asked, 10u);
}

TEST(EntryBits, of_names_beyond_ascii_are_taken_out) {
    std::vector<std::string> paths = {"C:/a", "C:/A", "C:/a1B", "C:/\u00E9", "C:/a\u65E5", "C:/~"};
    for (unsigned byte = 0x80; byte < 0x100; ++byte) {
        paths.push_back("C:/x" + std::string(1, static_cast<char>(byte)));
    }
    const Shard shard = shard_of(paths);
    EntryBits bits{};
    for (std::uint32_t i = 0; i < shard.size(); ++i) bits[i / 64] |= std::uint64_t{1} << i % 64;
    EntryBits beyond{};
    take_beyond_ascii(shard, bits, beyond);
    EXPECT_EQ(entries_in(shard, bits), (std::vector<std::uint32_t>{0, 1, 2, 5}));
    EXPECT_EQ(count_bits(shard, beyond), shard.size() - 4);
    add_bits(shard, beyond, bits);
    EXPECT_EQ(count_bits(shard, bits), shard.size());
}

}  // namespace
}  // namespace system_search
