#include "index/extension.hpp"

#include <gtest/gtest.h>

#include <string>

namespace system_search {
namespace {

std::string extension(const std::string& name) {
    const std::string lead = ".......!";  // none of the name's business
    const std::string text = lead + name;
    const Extension found = extension_of(std::string_view(text).substr(lead.size()));
    return std::string(extension_text(found));
}

TEST(Extension, is_the_last_dot_and_what_follows_folded) {
    EXPECT_EQ(extension("a.TXT"), ".txt");
    EXPECT_EQ(extension("f.tar.gz"), ".gz");
    EXPECT_EQ(extension(".gz"), ".gz");
    EXPECT_EQ(extension("e."), ".");
    EXPECT_EQ(extension("."), ".");
    EXPECT_EQ(extension("i.\u00C9Z@[`{"), ".\u00C9z@[`{");
}

TEST(Extension, is_none_without_a_dot_and_beyond_eight_bytes) {
    EXPECT_EQ(extension(""), "");
    EXPECT_EQ(extension("c"), "");
    EXPECT_EQ(extension("a long name"), "");
    EXPECT_EQ(extension("g.1234567"), ".1234567");
    EXPECT_EQ(extension("h.12345678"), "");
}

TEST(ExtensionNumbers, number_each_different_extension_once) {
    ExtensionNumbers numbers;
    EXPECT_EQ(numbers.number_of(0), 0);
    for (std::uint64_t i = 1; i <= kMaxExtensions; ++i) ASSERT_EQ(numbers.number_of(i * 7), i);
    EXPECT_EQ(numbers.number_of(6), 0) << "one too many";
    for (std::uint64_t i = 1; i <= kMaxExtensions; ++i) ASSERT_EQ(numbers.number_of(i * 7), i);
    EXPECT_EQ(numbers.all().size(), kMaxExtensions);
    EXPECT_EQ(numbers.all().front(), 7u);
    EXPECT_EQ(numbers.all().back(), kMaxExtensions * 7);
}

}  // namespace
}  // namespace system_search
