#include "model/paths.hpp"

#include <gtest/gtest.h>

#include <set>

namespace window {
namespace {

TEST(Paths, a_path_is_a_folder_and_a_name) {
    struct Case {
        const char* path;
        const char* folder;
        const char* name;
    };
    for (const Case& each :
         {Case{"C:/Users/ann/a.txt", "C:/Users/ann", "a.txt"}, Case{"C:/a.txt", "C:/", "a.txt"},
          Case{"//server/share/x", "//server/share", "x"}, Case{"alone", "", "alone"},
          Case{"", "", ""}}) {
        EXPECT_EQ(folder_of(each.path), each.folder) << each.path;
        EXPECT_EQ(name_of(each.path), each.name) << each.path;
    }
}

TEST(Paths, the_extension_begins_at_the_last_dot) {
    EXPECT_EQ(extension_of("a.tar.gz"), ".gz");
    EXPECT_EQ(extension_of(".profile"), ".profile");
    EXPECT_EQ(extension_of("Makefile"), "");
    EXPECT_EQ(extension_of("ends."), ".");
}

TEST(Paths, separators_go_both_ways) {
    EXPECT_EQ(native_path("C:/Users/ann"), "C:\\Users\\ann");
    EXPECT_EQ(query_text("src\\main"), "src/main");
    EXPECT_EQ(query_text("*.txt"), "*.txt");
}

TEST(Paths, a_scope_has_one_form) {
    EXPECT_EQ(normal_scope("c:\\Users\\ann\\"), "C:/Users/ann");
    EXPECT_EQ(normal_scope("C:/Users/ann//"), "C:/Users/ann");
    EXPECT_EQ(normal_scope("c:\\"), "C:/");
    EXPECT_EQ(normal_scope("\\\\server\\share\\"), "//server/share");
    EXPECT_EQ(normal_scope(""), "");
}

TEST(Paths, each_scope_has_a_cache_file_of_its_own) {
    EXPECT_EQ(cache_file_name(""), "all-drives.index");
    EXPECT_EQ(cache_file_name("C:/Users/ann"), "c-users-ann-9933689998340f97.index");
    std::set<std::string> names;
    for (const char* scope : {"", "C:/", "C:/a", "C:/A", "C:/a b", "C:/a-b", "C:/\xC3\xA9",
                              "C:/\xC3\xA8", "//a/b", "D:/"}) {
        EXPECT_TRUE(names.insert(cache_file_name(scope)).second) << scope;
    }
}

TEST(Paths, a_cache_file_name_is_short_and_plain_for_any_scope) {
    const std::string name =
        cache_file_name("C:/" + std::string(5000, 'x') + "/\xF0\x9F\x98\x80:?*");
    EXPECT_LT(name.size(), 80u);
    EXPECT_EQ(name.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789-."), std::string::npos);
    EXPECT_EQ(cache_file_name("\xF0\x9F\x98\x80").size(), 16u + 6u);
}

TEST(Paths, a_scope_is_shown_as_the_system_writes_it) {
    EXPECT_EQ(scope_label(""), "All local drives");
    EXPECT_EQ(scope_label("C:/Users/ann"), "C:\\Users\\ann");
}

}  // namespace
}  // namespace window
