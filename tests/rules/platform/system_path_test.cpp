// Which paths the system would refuse or read otherwise, and how they are spelled instead.
#include "platform/system_path.hpp"

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

namespace system_search::platform {
namespace {

std::string narrow(std::u16string_view text) {
    std::string narrow;
    for (const char16_t unit : text) narrow += unit < 0x80 ? static_cast<char>(unit) : '~';
    return narrow;
}

std::u16string literal(std::u16string_view path) {
    std::u16string out(path.size() + kLiteralPrefixUnits, u'#');
    out.resize(write_literal_form(path, out.data()));
    return out;
}

// ---- Components ---------------------------------------------------------------------------------

TEST(SystemPath, ordinary_components_are_read_as_written) {
    for (const std::u16string_view name :
         {u"a",         u".a",      u"..a",   u" a",     u"a.b",    u"a b",       u"...a",
          u"nula",      u"nu",      u"com",   u"com0",   u"com10",  u"comx",      u"lpt0",
          u"lpt",       u"console", u"conin", u"conout", u"a.nul",  u"auxiliary", u"prn1",
          u"com\u00B4", u"x.con",   u"nul_",  u"_nul",   u"\u00E4", u"\U0001F600"}) {
        const std::u16string path = u"C:\\docs\\" + std::u16string(name);
        EXPECT_TRUE(is_read_as_written(path)) << narrow(path);
        EXPECT_TRUE(is_read_as_written(path + u"\\below")) << narrow(path);
        EXPECT_TRUE(is_read_as_written(path + u"/")) << narrow(path);
    }
}

TEST(SystemPath, components_without_a_root_are_looked_at_from_the_first_on) {
    EXPECT_TRUE(is_read_as_written(u"docs\\a"));
    EXPECT_FALSE(is_read_as_written(u"nul"));
    EXPECT_FALSE(is_read_as_written(u"docs.\\a"));
    EXPECT_FALSE(is_read_as_written(u"C;\\docs."));
}

TEST(SystemPath, dots_and_blanks_at_an_end_and_device_names_are_not) {
    for (const std::u16string_view name :
         {u".",         u"..",        u"...",         u"x.",      u"x..",     u"x ",
          u"x. ",       u"x .",       u" ",           u"nul",     u"NUL",     u"nUl",
          u"nul.txt",   u"nul .txt",  u"nul..x",      u"nul.a.b", u"con",     u"prn",
          u"aux",       u"aux.txt",   u"com1",        u"COM9",    u"lpt1",    u"lpt9.log",
          u"com\u00B9", u"com\u00B2", u"LPT\u00B3.x", u"conin$",  u"CONOUT$", u"conin$.x",
          u"nul:x",     u"com1 .x"}) {
        for (const std::u16string_view parent : {u"C:\\", u"C:\\docs\\", u"C:/docs/", u"c:/a\\b/",
                                                 u"\\\\server\\share\\", u"//server/share/d/"}) {
            const std::u16string path = std::u16string(parent).append(name);
            EXPECT_FALSE(is_read_as_written(path)) << narrow(path);
            EXPECT_FALSE(is_read_as_written(path + u"\\below")) << narrow(path);
            EXPECT_FALSE(is_read_as_written(path + u"/")) << narrow(path);
        }
    }
}

TEST(SystemPath, doubled_separators_are_read_as_one) {
    EXPECT_FALSE(is_read_as_written(u"C:\\a\\\\b"));
    EXPECT_FALSE(is_read_as_written(u"C:\\\\a"));
    EXPECT_FALSE(is_read_as_written(u"C:/a/\\b"));
    EXPECT_FALSE(is_read_as_written(u"//server/share//b"));
}

TEST(SystemPath, drives_servers_and_shares_are_no_components) {
    for (const std::u16string_view path :
         {u"C:\\", u"C:/", u"\\\\server", u"\\\\server.\\share.", u"\\\\nul\\aux\\x",
          u"\\\\server\\share \\", u"\\\\?\\C:", u"\\\\?\\C:\\", u"\\\\.\\nul"}) {
        EXPECT_TRUE(is_read_as_written(path)) << narrow(path);
    }
    EXPECT_FALSE(is_read_as_written(u"\\\\?\\C:\\x."));
}

// ---- Length -------------------------------------------------------------------------------------

TEST(SystemPath, paths_are_long_from_248_units_on) {
    EXPECT_FALSE(is_long_path(std::u16string(247, u'x')));
    EXPECT_TRUE(is_long_path(std::u16string(248, u'x')));
}

// ---- The literal form ---------------------------------------------------------------------------

struct Row {
    std::u16string_view path;
    std::u16string_view literal;
};

TEST(SystemPath, drives_and_shares_have_a_literal_form) {
    for (const Row& row : std::vector<Row>{
             {u"C:\\", u"\\\\?\\C:\\"},
             {u"C:\\docs\\x.", u"\\\\?\\C:\\docs\\x."},
             {u"c:/docs/x ", u"\\\\?\\c:\\docs\\x "},
             {u"C:/docs\\*", u"\\\\?\\C:\\docs\\*"},
             {u"\\\\server\\share\\nul", u"\\\\?\\UNC\\server\\share\\nul"},
             {u"//server/share/nul", u"\\\\?\\UNC\\server\\share\\nul"},
             {u"\\/server/share\\", u"\\\\?\\UNC\\server\\share\\"},
             {u"\\\\?\\C:\\x.", u"\\\\?\\C:\\x."},
             {u"//?/C:/x.", u"\\\\?\\C:\\x."},
             {u"//?/UNC/server/share/x.", u"\\\\?\\UNC\\server\\share\\x."},
         }) {
        ASSERT_TRUE(has_literal_form(row.path)) << narrow(row.path);
        EXPECT_EQ(literal(row.path), row.literal) << narrow(literal(row.path));
    }
}

TEST(SystemPath, relative_paths_and_devices_have_none) {
    for (const std::u16string_view path :
         {u"", u"x", u"C:", u"C:x", u"\\x", u"/x/y", u"\\\\", u"\\\\\\x", u"\\\\.\\C:\\x",
          u"//./C:/x", u"\\??\\C:\\x", u"1:\\x", u"{:\\x", u"C;\\x"}) {
        EXPECT_FALSE(has_literal_form(path)) << narrow(path);
    }
}

TEST(SystemPath, device_prefixes_are_known) {
    for (const std::u16string_view path :
         {u"\\\\?\\C:\\", u"\\\\.\\nul", u"//?/x", u"//./x", u"\\??\\C:\\x", u"\\\\?\\"}) {
        EXPECT_TRUE(has_device_prefix(path)) << narrow(path);
    }
    for (const std::u16string_view path : {u"C:\\", u"\\\\server\\share", u"\\\\?", u"\\\\.",
                                           u"\\x", u"", u"\\\\?x\\y", u"?\\\\x"}) {
        EXPECT_FALSE(has_device_prefix(path)) << narrow(path);
    }
}

// ---- Roots --------------------------------------------------------------------------------------

TEST(SystemPath, roots_of_drives_shares_and_volumes_are_known) {
    for (const std::u16string_view path :
         {u"C:\\", u"z:/", u"\\\\server\\share", u"\\\\server\\share\\", u"//server/share/",
          u"\\\\?\\C:", u"\\\\?\\C:\\", u"\\\\.\\c:\\", u"\\??\\C:\\", u"//?/C:/",
          u"\\\\?\\UNC\\server\\share", u"\\\\?\\unc\\server\\share\\", u"\\\\?\\Volume{0-1}",
          u"\\\\?\\volume{12345678-9abc}\\"}) {
        EXPECT_TRUE(is_volume_root(path)) << narrow(path);
    }
    for (const std::u16string_view path : {u"",
                                           u"x",
                                           u"C:",
                                           u"C:x",
                                           u"\\",
                                           u"C:\\x",
                                           u"C:\\x\\",
                                           u"C:\\\\",
                                           u"1:\\",
                                           u"\\\\server",
                                           u"\\\\server\\",
                                           u"\\\\server\\\\share",
                                           u"\\\\server\\share\\x",
                                           u"\\\\server\\share\\\\",
                                           u"\\\\?\\",
                                           u"\\\\?\\C:\\x",
                                           u"\\\\?\\CC:\\",
                                           u"\\\\?\\1:\\",
                                           u"\\\\?\\C;\\",
                                           u"\\\\?\\UNC",
                                           u"\\\\?\\UNC\\server",
                                           u"\\\\?\\UNC\\server\\",
                                           u"\\\\?\\UNC\\server\\share\\x",
                                           u"\\\\?\\Volume{0-1",
                                           u"\\\\?\\Volume",
                                           u"\\\\?\\Volume{0-1}\\x",
                                           u"\\\\?\\GLOBALROOT\\Device\\x",
                                           u"\\\\?\\pipe"}) {
        EXPECT_FALSE(is_volume_root(path)) << narrow(path);
    }
}

}  // namespace
}  // namespace system_search::platform
