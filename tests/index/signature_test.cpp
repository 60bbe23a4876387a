#include "index/signature.hpp"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace system_search {
namespace {

bool has(const Signature& signature, unsigned bit) {
    return (signature.words[bit / 64] >> bit % 64 & 1) != 0;
}

Signature signature_of(std::string name) {
    const std::size_t bytes = name.size();
    name.resize(bytes + 8, '.');  // none of the name's business
    return name_signature(std::string_view(name).substr(0, bytes));
}

TEST(Signature, holds_every_byte_and_every_pair_of_a_name_and_its_two_ends) {
    const Signature signature = signature_of("ab.c");
    for (const char byte : std::string("ab.c")) EXPECT_TRUE(has(signature, byte_bit(byte)));
    EXPECT_TRUE(has(signature, pair_bit('a', 'b')));
    EXPECT_TRUE(has(signature, pair_bit('b', '.')));
    EXPECT_TRUE(has(signature, pair_bit('.', 'c')));
    EXPECT_TRUE(has(signature, pair_bit('\0', 'a')));
    EXPECT_TRUE(has(signature, pair_bit('c', '\0')));
}

TEST(Signature, tells_where_dots_stand_among_the_first_eight_bytes) {
    const auto dots = [](const std::string& name) {
        std::string places;
        for (unsigned i = 0; i < kDotPlaces; ++i) {
            if (has(signature_of(name), kDotBits + i)) places += static_cast<char>('0' + i);
        }
        return places;
    };
    EXPECT_EQ(dots(""), "");
    EXPECT_EQ(dots("."), "0");
    EXPECT_EQ(dots("read.me"), "4");
    EXPECT_EQ(dots("a.b.tar.gz"), "137");
    EXPECT_EQ(dots("........"), "01234567");
    EXPECT_EQ(dots("makefile.am"), "") << "the ninth byte";
}

TEST(Signature, of_an_empty_name_is_its_two_ends_alone) {
    const Signature signature = signature_of("");
    for (unsigned bit = 0; bit < kSignatureBits; ++bit) {
        EXPECT_EQ(has(signature, bit), bit == pair_bit('\0', '\0')) << bit;
    }
}

TEST(Signature, bits_of_bytes_and_bits_of_pairs_are_not_the_same) {
    for (unsigned a = 1; a < 256; ++a) {
        EXPECT_GT(byte_bit(static_cast<char>(a)), kUpperNameBit);
        EXPECT_LT(byte_bit(static_cast<char>(a)), 64u);
        for (unsigned b = 0; b < 256; ++b) {
            const unsigned bit = pair_bit(static_cast<char>(a), static_cast<char>(b));
            ASSERT_GE(bit, 64u);
            ASSERT_LT(bit, kSignatureBits);
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

TEST(Signature, pair_with_its_own_bit_shares_it_with_no_other) {
    std::size_t own = 0;
    for (unsigned first = 0; first < 0x10000; ++first) {
        const auto a = static_cast<char>(first / 256);
        const auto b = static_cast<char>(first % 256);
        if (!has_own_bit(a, b)) continue;
        ++own;
        for (unsigned second = 0; second < 0x10000; ++second) {
            if (second == first) continue;
            ASSERT_NE(pair_bit(a, b),
                      pair_bit(static_cast<char>(second / 256), static_cast<char>(second % 256)));
        }
    }
    EXPECT_EQ(own, 32u);
    EXPECT_TRUE(has_own_bit('i', 'n'));
    EXPECT_FALSE(has_own_bit('q', 'z') || has_own_bit('\0', 'i') || has_own_bit('n', '\0'));
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
