#include "index/signature.hpp"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace system_search {
namespace {

bool has(const Signature& signature, unsigned bit) {
    return ((bit < 64 ? signature.bytes : signature.pairs) >> bit % 64 & 1) != 0;
}

TEST(Signature, holds_every_byte_and_every_pair_of_a_name_and_its_two_ends) {
    const Signature signature = name_signature("ab.c");
    for (const char byte : std::string("ab.c")) EXPECT_TRUE(has(signature, byte_bit(byte)));
    EXPECT_TRUE(has(signature, pair_bit('a', 'b')));
    EXPECT_TRUE(has(signature, pair_bit('b', '.')));
    EXPECT_TRUE(has(signature, pair_bit('.', 'c')));
    EXPECT_TRUE(has(signature, pair_bit('\0', 'a')));
    EXPECT_TRUE(has(signature, pair_bit('c', '\0')));
}

TEST(Signature, of_an_empty_name_is_its_two_ends_alone) {
    const Signature signature = name_signature("");
    EXPECT_EQ(signature.bytes, 0u);
    EXPECT_EQ(signature.pairs, std::uint64_t{1} << (pair_bit('\0', '\0') - 64));
}

TEST(Signature, bits_of_bytes_and_pairs_keep_to_their_halves) {
    for (unsigned a = 0; a < 256; ++a) {
        EXPECT_GT(byte_bit(static_cast<char>(a)), kUpperNameBit);
        EXPECT_LT(byte_bit(static_cast<char>(a)), 64u);
        for (unsigned b = 0; b < 256; ++b) {
            const unsigned bit = pair_bit(static_cast<char>(a), static_cast<char>(b));
            ASSERT_GE(bit, 64u);
            ASSERT_LT(bit, 128u);
        }
    }
}

TEST(Signature, byte_with_its_own_bit_shares_it_with_no_other) {
    for (unsigned a = 0; a < 256; ++a) {
        if (!has_own_bit(static_cast<char>(a))) continue;
        for (unsigned b = 0; b < 256; ++b) {
            if (a != b) {
                ASSERT_NE(byte_bit(static_cast<char>(a)), byte_bit(static_cast<char>(b)));
            }
        }
    }
    EXPECT_TRUE(has_own_bit('a') && has_own_bit('0') && has_own_bit('.'));
    EXPECT_FALSE(has_own_bit('\xC3') || has_own_bit('"') || has_own_bit('A'));
}

TEST(Transpose, makes_rows_of_columns) {
    std::mt19937_64 random(7);
    std::uint64_t rows[64];
    for (std::uint64_t& row : rows) row = random();
    std::uint64_t columns[64];
    std::copy(std::begin(rows), std::end(rows), columns);
    transpose(columns);
    for (unsigned i = 0; i < 64; ++i) {
        for (unsigned j = 0; j < 64; ++j) {
            ASSERT_EQ(columns[j] >> i & 1, rows[i] >> j & 1) << i << "," << j;
        }
    }
}

}  // namespace
}  // namespace system_search
