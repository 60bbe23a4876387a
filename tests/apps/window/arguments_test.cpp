#include "model/arguments.hpp"

#include <gtest/gtest.h>

namespace window {
namespace {

TEST(Arguments, none_are_needed) {
    const Arguments arguments = parse_arguments({});
    EXPECT_EQ(arguments.trouble, "");
    EXPECT_FALSE(arguments.scope);
    EXPECT_FALSE(arguments.version);
}

TEST(Arguments, each_is_taken_with_what_follows) {
    const Arguments arguments =
        parse_arguments({"--measure", "m.txt", "--scope", "--x", "--settings", "s"});
    EXPECT_EQ(arguments.trouble, "");
    EXPECT_EQ(arguments.scope, "--x");
    EXPECT_EQ(arguments.measure, "m.txt");
    EXPECT_EQ(arguments.settings, "s");
    EXPECT_TRUE(parse_arguments({"--version"}).version);
}

TEST(Arguments, what_is_not_understood_is_named) {
    EXPECT_EQ(parse_arguments({"-x"}).trouble, "\"-x\" is not understood.");
    EXPECT_EQ(parse_arguments({"--scope", "C:/a", "b"}).trouble, "\"b\" is not understood.");
    EXPECT_EQ(parse_arguments({"--scope"}).trouble, "Something has to follow --scope.");
    EXPECT_EQ(parse_arguments({"--measure", ""}).trouble, "Something has to follow --measure.");
}

}  // namespace
}  // namespace window
