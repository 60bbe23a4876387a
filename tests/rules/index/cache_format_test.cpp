// The units that a cache file is made of.
#include "index/cache_format.hpp"

#include <gtest/gtest.h>

#include <string>

namespace system_search {
namespace {

std::string encoded(std::uint32_t value) {
    char bytes[kCacheIntegerBytes];
    encode_cache_integer(value, bytes);
    return {bytes, sizeof bytes};
}

TEST(CacheFormat, integers_are_four_bytes_least_significant_first) {
    EXPECT_EQ(encoded(0x04030201), "\x01\x02\x03\x04");
    EXPECT_EQ(encoded(0xFFFEFD80), "\x80\xFD\xFE\xFF");
    EXPECT_EQ(decode_cache_integer("\x01\x02\x03\x04"), 0x04030201u);
    EXPECT_EQ(decode_cache_integer("\x80\xFD\xFE\xFF"), 0xFFFEFD80u);
}

TEST(CacheFormat, each_bit_of_an_integer_comes_back_alone) {
    for (int bit = 0; bit < 32; ++bit) {
        const std::uint32_t value = std::uint32_t{1} << bit;
        EXPECT_EQ(decode_cache_integer(encoded(value).data()), value);
    }
}

TEST(CacheFormat, header_and_records_take_what_their_fields_take) {
    EXPECT_EQ(kCacheMagic, "system-search-v1");
    EXPECT_EQ(cache_header_bytes(0), 4u + 16 + 4 + 12);
    EXPECT_EQ(cache_header_bytes(6), 4u + 16 + 4 + 6 + 12);
    EXPECT_EQ(cache_record_bytes(0), 8u);
    EXPECT_EQ(cache_record_bytes(11), 4u + 11 + 4);
}

}  // namespace
}  // namespace system_search
