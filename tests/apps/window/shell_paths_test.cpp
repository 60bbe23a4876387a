#include "model/shell_paths.hpp"

#include <gtest/gtest.h>

namespace window {
namespace {

TEST(ShellPaths, a_path_reaches_exactly_its_entry) {
    EXPECT_EQ(exact_path("C:/docs/twin.txt."), "\\\\?\\C:\\docs\\twin.txt.");
    EXPECT_EQ(exact_path("//server/share/x "), "\\\\?\\UNC\\server\\share\\x ");
    EXPECT_EQ(exact_path("//?/C:/x"), "\\\\?\\C:\\x");
}

TEST(ShellPaths, what_other_programs_would_rename_is_refused) {
    EXPECT_EQ(shell_refusal("C:/docs/twin.txt."),
              "\"twin.txt.\" cannot be passed on: other programs leave out the dot or blank at the "
              "end of \"twin.txt.\".");
    EXPECT_EQ(shell_refusal("C:/docs/trailing blank "),
              "\"trailing blank \" cannot be passed on: other programs leave out the dot or blank "
              "at the end of \"trailing blank \".");
    EXPECT_EQ(shell_refusal("C:/docs./a.txt"),
              "\"a.txt\" cannot be passed on: other programs leave out the dot or blank at the end "
              "of \"docs.\".");
    EXPECT_NE(shell_refusal("//server/share/x."), "");
}

TEST(ShellPaths, what_other_programs_take_for_a_device_is_refused) {
    for (const char* name : {"nul", "NUL.txt", "con .log", "Aux.tar.gz", "com1", "LPT9.txt",
                             "conin$", "com\xC2\xB9"}) {
        const std::string refusal = shell_refusal(std::string("C:/") + name);
        EXPECT_EQ(refusal, "\"" + std::string(name) +
                               "\" cannot be passed on: other programs take \"" + name +
                               "\" for a device.");
    }
    for (const char* name : {"null", "console.txt", "com", "com10", "lpt.txt", "x.nul", ".con"}) {
        EXPECT_EQ(shell_refusal(std::string("C:/") + name), "") << name;
    }
}

TEST(ShellPaths, a_path_that_is_too_long_is_told_with_its_length) {
    EXPECT_EQ(shell_refusal("C:/" + std::string(256, 'x')), "");
    EXPECT_EQ(shell_refusal("C:/" + std::string(253, 'x') + "/y.txt"),
              "\"y.txt\" cannot be passed on: its path has 262 characters, and other programs take "
              "259 at most.");
    // Counted as the system does: two units for what lies beyond the first plane, one for "\u00E9".
    const std::string start = "C:/" + std::string(254, 'x');
    EXPECT_EQ(shell_refusal(start + "\xF0\x9F\x98\x80"), "");
    EXPECT_NE(shell_refusal(start + "x\xF0\x9F\x98\x80"), "");
    EXPECT_EQ(shell_refusal(start + "\xC3\xA9\xC3\xA9"), "");
}

TEST(ShellPaths, all_other_names_may_be_passed_on) {
    for (const char* path : {"C:/", "C:/a.txt", "C:/.profile", "C:/ leading", "//server/share/a b",
                             "C:/a..b/c", "C:/50%"}) {
        EXPECT_EQ(shell_refusal(path), "") << path;
    }
}

}  // namespace
}  // namespace window
