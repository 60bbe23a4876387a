#include "model/numbers.hpp"

#include <gtest/gtest.h>

namespace console {
namespace {

TEST(Numbers, digits_are_grouped_from_the_fifth_on) {
    EXPECT_EQ(format_count(0), "0");
    EXPECT_EQ(format_count(1000), "1000");
    EXPECT_EQ(format_count(9999), "9999");
    EXPECT_EQ(format_count(10000), "10,000");
    EXPECT_EQ(format_count(24310), "24,310");
    EXPECT_EQ(format_count(100000), "100,000");
    EXPECT_EQ(format_count(5000000), "5,000,000");
    EXPECT_EQ(format_count(18446744073709551615u), "18,446,744,073,709,551,615");
}

TEST(Numbers, one_thing_is_singular) {
    EXPECT_EQ(format_counted(0, "match", "matches"), "0 matches");
    EXPECT_EQ(format_counted(1, "match", "matches"), "1 match");
    EXPECT_EQ(format_counted(24310, "match", "matches"), "24,310 matches");
}

TEST(Numbers, sizes_have_at_most_four_characters_and_a_unit) {
    struct Case {
        std::uint64_t bytes;
        const char* text;
    };
    constexpr std::uint64_t kKi = 1024, kMi = kKi * kKi, kGi = kMi * kKi;
    for (const Case& c : std::initializer_list<Case>{
             {0, "0 B"},
             {1, "1 B"},
             {1023, "1023 B"},
             {1024, "1.0 KiB"},
             {1536, "1.5 KiB"},
             {10188, "9.9 KiB"},
             {10189, "10 KiB"},
             {1023 * kKi, "1023 KiB"},
             {1023 * kKi + 511, "1023 KiB"},
             {1023 * kKi + 512, "1.0 MiB"},
             {kMi, "1.0 MiB"},
             {5 * kGi, "5.0 GiB"},
             {700 * kGi, "700 GiB"},
             {18446744073709551615u, "16 EiB"},
         }) {
        EXPECT_EQ(format_size(c.bytes), c.text) << c.bytes;
    }
}

TEST(Numbers, milliseconds_keep_two_digits_that_matter) {
    EXPECT_EQ(format_milliseconds(0), "0.00 ms");
    EXPECT_EQ(format_milliseconds(0.424), "0.42 ms");
    EXPECT_EQ(format_milliseconds(0.996), "1.0 ms");
    EXPECT_EQ(format_milliseconds(3.24), "3.2 ms");
    EXPECT_EQ(format_milliseconds(9.96), "10 ms");
    EXPECT_EQ(format_milliseconds(12.4), "12 ms");
    EXPECT_EQ(format_milliseconds(24310), "24,310 ms");
}

TEST(Numbers, seconds_have_tenths) {
    EXPECT_EQ(format_seconds(0.04), "0.0 s");
    EXPECT_EQ(format_seconds(1.25), "1.2 s");
    EXPECT_EQ(format_seconds(75.31), "75.3 s");
}

TEST(Numbers, times_are_written_largest_part_first) {
    EXPECT_EQ(format_time({2024, 5, 1, 14, 34}), "2024-05-01 14:34");
    EXPECT_EQ(format_time({1601, 12, 31, 0, 0}), "1601-12-31 00:00");
}

}  // namespace
}  // namespace console
