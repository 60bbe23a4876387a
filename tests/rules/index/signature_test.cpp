#include "index/signature.hpp"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace system_search {
namespace {

std::set<unsigned> bits_of(std::string_view name) {
    std::set<unsigned> bits;
    for_signature_bits(name, [&](unsigned bit) { bits.insert(bit); });
    return bits;
}

TEST(Signature, holds_every_byte_and_every_bigram_of_a_name_and_its_two_ends) {
    EXPECT_EQ(bits_of("ab.c"),
              (std::set<unsigned>{byte_bit('a'), byte_bit('b'), byte_bit('.'), byte_bit('c'),
                                  bigram_bit('\0', 'a'), bigram_bit('a', 'b'), bigram_bit('b', '.'),
                                  bigram_bit('.', 'c'), bigram_bit('c', '\0')}));
}

TEST(Signature, of_an_empty_name_is_its_two_ends_alone) {
    EXPECT_EQ(bits_of(""), std::set<unsigned>{bigram_bit('\0', '\0')});
}

TEST(Signature, bits_of_bytes_and_bits_of_bigrams_are_not_the_same) {
    for (unsigned a = 1; a < 256; ++a) {
        EXPECT_GT(byte_bit(static_cast<char>(a)), kUppercaseBit);
        EXPECT_LT(byte_bit(static_cast<char>(a)), kFirstBigramBit);
        for (unsigned b = 0; b < 256; ++b) {
            const unsigned bit = bigram_bit(static_cast<char>(a), static_cast<char>(b));
            ASSERT_GE(bit, kFirstBigramBit);
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

TEST(Signature, bigram_with_its_own_bit_shares_it_with_no_other) {
    std::size_t own = 0;
    for (unsigned first = 0; first < 0x10000; ++first) {
        const auto a = static_cast<char>(first / 256);
        const auto b = static_cast<char>(first % 256);
        if (!has_own_bit(a, b)) continue;
        ++own;
        for (unsigned second = 0; second < 0x10000; ++second) {
            if (second == first) continue;
            ASSERT_NE(bigram_bit(a, b),
                      bigram_bit(static_cast<char>(second / 256), static_cast<char>(second % 256)));
        }
    }
    EXPECT_EQ(own, 32u);
    EXPECT_TRUE(has_own_bit('i', 'n'));
    EXPECT_FALSE(has_own_bit('q', 'z') || has_own_bit('\0', 'i') || has_own_bit('n', '\0'));
}

}  // namespace
}  // namespace system_search
