#include "common/bytes.hpp"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace system_search {
namespace {

// A copy with nothing behind it, so that a sanitizer sees any byte read too far.
std::unique_ptr<char[]> exact_copy(std::string_view text) {
    auto copy = std::make_unique_for_overwrite<char[]>(text.size());
    text.copy(copy.get(), text.size());
    return copy;
}

TEST(Bytes, texts_are_equal_when_every_byte_is) {
    for (std::size_t bytes = 0; bytes <= 70; ++bytes) {
        const std::string text(bytes, 'x');
        const auto a = exact_copy(text);
        EXPECT_TRUE(equal_bytes(a.get(), exact_copy(text).get(), bytes)) << bytes;
        for (std::size_t at = 0; at < bytes; ++at) {
            std::string other = text;
            other[at] = '\xF8';
            EXPECT_FALSE(equal_bytes(a.get(), exact_copy(other).get(), bytes))
                << bytes << ' ' << at;
        }
    }
    EXPECT_FALSE(equal_bytes("ab", "abc"));
    EXPECT_TRUE(equal_bytes("", ""));
}

TEST(Bytes, kinds_are_found_anywhere_in_the_text_and_not_behind_it) {
    for (std::size_t bytes = 0; bytes <= 70; ++bytes) {
        for (const char behind : {'x', '\0', '\x80'}) {
            const std::string plain = std::string(bytes, 'x') + std::string(15, behind);
            const ByteKinds none = byte_kinds_padded(plain.data(), bytes);
            EXPECT_FALSE(none.nul || none.non_ascii) << bytes;
            for (std::size_t at = 0; at < bytes; ++at) {
                std::string changed = plain;
                changed[at] = '\0';
                EXPECT_TRUE(byte_kinds_padded(changed.data(), bytes).nul) << bytes << ' ' << at;
                EXPECT_FALSE(byte_kinds_padded(changed.data(), bytes).non_ascii);
                for (const char high : {'\x80', '\xFF'}) {
                    changed[at] = high;
                    EXPECT_TRUE(byte_kinds_padded(changed.data(), bytes).non_ascii) << bytes;
                    EXPECT_FALSE(byte_kinds_padded(changed.data(), bytes).nul);
                }
            }
        }
    }
}

TEST(FindLast, finds_the_last_place_of_a_byte_in_texts_of_every_length) {
    for (std::size_t bytes = 0; bytes < 60; ++bytes) {
        std::string text(bytes, 'x');
        EXPECT_EQ(find_last(text, '/'), std::string::npos) << bytes;
        for (std::size_t at = 0; at < bytes; ++at) {
            text[at] = '/';  // and all before it
            ASSERT_EQ(find_last(text, '/'), at) << bytes;
        }
    }
}

}  // namespace
}  // namespace system_search
