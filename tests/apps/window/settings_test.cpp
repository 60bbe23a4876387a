#include "model/settings.hpp"

#include <gtest/gtest.h>

namespace window {
namespace {

TEST(Settings, what_is_written_is_read_again) {
    Settings settings;
    settings.scope = "C:/Users/\xE4\xB8\xAD = x";
    settings.recent = {"C:/Users/\xE4\xB8\xAD = x", "//server/share"};
    settings.kind = ss::Kind::kFolder;
    settings.match_case = true;
    settings.whole_path = true;
    settings.column_widths = {100, 200, 30, 40};
    settings.placement = Placement{{-1900, 10, -900, 700}, 144, true};
    EXPECT_EQ(parse_settings(format_settings(settings)), settings);
    EXPECT_EQ(parse_settings(format_settings(Settings())), Settings());
    settings.kind = ss::Kind::kFile;
    EXPECT_EQ(parse_settings(format_settings(settings)), settings);
}

TEST(Settings, a_missing_file_gives_the_defaults) {
    EXPECT_EQ(parse_settings(""), Settings());
}

TEST(Settings, line_ends_and_a_mark_at_the_beginning_of_other_editors_do_not_matter) {
    const Settings settings = parse_settings("\xEF\xBB\xBFscope=C:/x\r\nmatch_case=1\r\n");
    EXPECT_EQ(settings.scope, "C:/x");
    EXPECT_TRUE(settings.match_case);
}

TEST(Settings, what_is_damaged_keeps_its_default) {
    for (const char* line :
         {"columns=1 2 3", "columns=1 2 3 4", "columns=a b c d", "columns=100 100 100 5000",
          "columns=100 100 100 99999999999999", "columns=100,100,100,100", "window=1 2 3",
          "window=10 10 5 20 96 0", "window=0 0 10 10 0 0", "window=0 0 999999999 10 96 0",
          "window=0 0 10 10 96 0 7", "kind=odd", "kind=", "match_case=yes",
          "recent=", "no equals sign", "=", "unknown=1", "\0\1\2"}) {
        EXPECT_EQ(parse_settings(line), Settings()) << line;
    }
}

TEST(Settings, any_bytes_can_be_read) {
    const std::string valid = format_settings(Settings());
    for (std::size_t cut = 0; cut <= valid.size(); ++cut) parse_settings(valid.substr(0, cut));
    for (std::size_t at = 0; at < valid.size(); ++at) {
        std::string damaged = valid;
        for (char sign : {'\0', '\xFF', '=', '\n', '-', ' '}) {
            damaged[at] = sign;
            const Settings settings = parse_settings(damaged);
            for (int width : settings.column_widths) EXPECT_GE(width, 20);
        }
    }
}

TEST(Settings, the_last_scopes_are_remembered_the_newest_first_and_each_once) {
    Settings settings;
    choose_scope(settings, "C:/a");
    choose_scope(settings, "C:/b");
    choose_scope(settings, "C:/a");
    EXPECT_EQ(settings.scope, "C:/a");
    EXPECT_EQ(settings.recent, (std::vector<std::string>{"C:/a", "C:/b"}));
    choose_scope(settings, "");
    EXPECT_EQ(settings.scope, "");
    EXPECT_EQ(settings.recent.size(), 2u);
    for (int i = 0; i < 20; ++i) choose_scope(settings, "C:/" + std::to_string(i));
    EXPECT_EQ(settings.recent.size(), 10u);
    EXPECT_EQ(settings.recent.front(), "C:/19");
    EXPECT_EQ(settings.recent.back(), "C:/10");
}

}  // namespace
}  // namespace window
