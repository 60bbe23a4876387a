#include "common/path.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace system_search {
namespace {

std::string narrow(std::u16string_view text) {
    std::string out;
    for (const char16_t unit : text) out += static_cast<char>(unit);
    return out;
}

std::u16string wide(std::string_view text) {
    return std::u16string(text.begin(), text.end());
}

std::string normal(std::string_view path) {
    return narrow(lexically_normal(wide(path)));
}

// Calls check(text) with every text of up to `longest` characters of `alphabet`.
template <typename Check>
void for_each_text(std::string_view alphabet, std::size_t longest, Check check) {
    std::vector<std::size_t> digits;
    while (digits.size() <= longest) {
        std::string text;
        for (const std::size_t digit : digits) text += alphabet[digit];
        check(text);
        if (testing::Test::HasFatalFailure()) return;
        std::size_t at = 0;
        while (at < digits.size() && ++digits[at] == alphabet.size()) digits[at++] = 0;
        if (at == digits.size()) digits.push_back(0);
    }
}

// ---- The absolute-path rule ---------------------------------------------------------------------

TEST(Path, absolute_paths_are_told_from_others) {
    const struct {
        std::string_view path;
        bool absolute;
    } kCases[] = {
        {"C:\\", true},
        {"C:/", true},
        {"C:\\x", true},
        {"C:/x", true},
        {"a:/", true},
        {"z:/", true},
        {"A:/", true},
        {"Z:/", true},
        {"C:\\\\", true},
        {"\\\\server\\share", true},
        {"//server/share", true},
        {"\\/server", true},
        {"//s", true},
        {"//?", true},
        {"//.", true},
        {"//?/", true},
        {"//./", true},
        {"//?/C:/x", true},
        {"\\\\.\\x", true},
        {"\\\\?\\\\x", true},  // not a device prefix, yet a server called "?"
        {"\\??\\", true},
        {"/\?\?/", true},
        {"\\??\\C:\\x", true},
        {"\\\?\?/x", true},

        {"", false},
        {"x", false},
        {"x/y", false},
        {"x\\y", false},
        {"C", false},
        {"C:", false},
        {"C:x", false},
        {"C:.", false},
        {"C:..\\x", false},
        {"@:/", false},
        {"[:/", false},
        {"`:/", false},
        {"{:/", false},
        {"1:/", false},
        {"::/", false},
        {"CC:/", false},
        {"C;/x", false},
        {" C:/", false},
        {"/", false},
        {"\\", false},
        {"/x", false},
        {"\\x", false},
        {"//", false},
        {"\\\\", false},
        {"///", false},
        {"///server/share", false},
        {"\\??", false},
        {"\\??x", false},
        {"\\??\\\\x", false},
        {"\\?\\x", false},
        {"\\?.\\x", false},
        {"\\.?\\x", false},
        {"\\..\\x", false},
        {"??\\x", false},
        {"x\\??\\x", false},
        {".//server", false},
    };
    for (const auto& [path, absolute] : kCases) {
        EXPECT_EQ(is_absolute_path(wide(path)), absolute) << path;
        EXPECT_EQ(is_absolute_path(path), absolute) << path;
    }
}

TEST(Path, only_ascii_letters_name_drives) {
    for (char32_t unit = 0; unit < 0x10000; ++unit) {
        const bool letter = (unit >= 'A' && unit <= 'Z') || (unit >= 'a' && unit <= 'z');
        const std::u16string path = {static_cast<char16_t>(unit), u':', u'\\'};
        EXPECT_EQ(is_absolute_path(path), letter) << std::hex << unsigned(unit);
    }
}

TEST(Path, units_that_only_end_like_separators_do_not_separate) {
    EXPECT_FALSE(is_absolute_path(std::u16string_view(u"C:\u015C")));  // 0x015C
    EXPECT_FALSE(is_absolute_path(std::u16string_view(u"C:\u012F")));  // 0x012F
    EXPECT_EQ(lexically_normal(u"C:\\a\u015C..\u012F.\\b"), u"C:\\a\u015C..\u012F.\\b");
}

TEST(Path, every_short_text_is_absolute_by_the_rule_alone) {
    for_each_text("\\/?.:C", 6, [](const std::string& text) {
        const auto separator = [&](std::size_t at) {
            return at < text.size() && (text[at] == '/' || text[at] == '\\');
        };
        const auto is = [&](std::size_t at, char c) { return at < text.size() && text[at] == c; };
        const bool drive = is(0, 'C') && is(1, ':') && separator(2);
        const bool network = separator(0) && separator(1) && text.size() > 2 && !separator(2);
        const bool device = ((separator(0) && separator(1) && (is(2, '?') || is(2, '.'))) ||
                             (separator(0) && is(1, '?') && is(2, '?'))) &&
                            separator(3) && !separator(4);
        const bool absolute = drive || network || device;
        ASSERT_EQ(is_absolute_path(text), absolute) << text;
        ASSERT_EQ(is_absolute_path(wide(text)), absolute) << text;
    });
}

// ---- The normal form ----------------------------------------------------------------------------

TEST(Path, normal_forms_are_these) {
    const struct {
        std::string_view path;
        std::string_view normal;
    } kCases[] = {
        // Drives
        {"C:\\", "C:\\"},
        {"C:/", "C:\\"},
        {"c:/", "c:\\"},
        {"C:\\\\\\", "C:\\"},
        {"C:/Users/x", "C:\\Users\\x"},
        {"C:/Users/x/", "C:\\Users\\x\\"},
        {"C:/Users/x//", "C:\\Users\\x\\"},
        {"C:/Users/x/../y", "C:\\Users\\y"},
        {"C:/a//b", "C:\\a\\b"},
        {"C:\\/a/\\b", "C:\\a\\b"},
        {"C:\\a\\.", "C:\\a\\"},
        {"C:\\a\\.\\", "C:\\a\\"},
        {"C:\\.\\a", "C:\\a"},
        {"C:\\.", "C:\\"},
        {"C:\\.\\.\\.", "C:\\"},
        {"C:\\a\\..", "C:\\"},
        {"C:\\a\\..\\", "C:\\"},
        {"C:\\a\\b\\..", "C:\\a\\"},
        {"C:\\a\\b\\..\\..", "C:\\"},
        {"C:\\a\\b\\..\\..\\..\\c", "C:\\c"},
        {"C:\\..", "C:\\"},
        {"C:\\..\\", "C:\\"},
        {"C:\\..\\..\\a", "C:\\a"},
        {"C:\\a\\.\\..\\b", "C:\\b"},
        {"C:\\a\\..\\..\\b\\.\\c\\", "C:\\b\\c\\"},
        // Names that only look like dots
        {"C:\\...", "C:\\..."},
        {"C:\\a\\...\\b", "C:\\a\\...\\b"},
        {"C:\\.a\\b.\\..c\\d..", "C:\\.a\\b.\\..c\\d.."},
        {"C:\\ .\\. \\x", "C:\\ .\\. \\x"},
        {"C:\\a\\C:\\..\\b", "C:\\a\\b"},
        // Servers
        {"//server/share", "\\\\server\\share"},
        {"//server/share/", "\\\\server\\share\\"},
        {"\\\\server\\share\\..", "\\\\server\\"},
        {"\\\\server\\share\\..\\..\\x", "\\\\server\\x"},
        {"\\\\server\\..", "\\\\server\\"},
        {"//server", "\\\\server"},
        {"//server/", "\\\\server\\"},
        {"//server///a//b", "\\\\server\\a\\b"},
        // Devices
        {"//?/C:/a/../b", "\\\\?\\C:\\b"},
        {"\\\\?\\C:\\..\\..\\b", "\\\\?\\b"},
        {"//./x/.", "\\\\.\\x\\"},
        {"//./..", "\\\\.\\"},
        {"/\?\?/C:/./a", "\\??\\C:\\a"},
        {"/\?\?/..", "\\??\\"},
        {"\\\\?\\\\x", "\\\\?\\x"},
        // No root name
        {"/", "\\"},
        {"///", "\\"},
        {"///a", "\\a"},
        {"/a/../..", "\\"},
        {"/\?\?//x", "\\??\\x"},
        // Relative
        {"", ""},
        {".", "."},
        {"./", "."},
        {"././.", "."},
        {"a", "a"},
        {"a/", "a\\"},
        {"a/.", "a\\"},
        {"a/..", "."},
        {"a/../", "."},
        {"a/b/..", "a\\"},
        {"a/b/../", "a\\"},
        {"..", ".."},
        {"../", ".."},
        {"../.", ".."},
        {"../..", "..\\.."},
        {"../../", "..\\.."},
        {"../../a", "..\\..\\a"},
        {"a/../..", ".."},
        {"../a/..", ".."},
        {"../a/../..", "..\\.."},
        {"./a", "a"},
        {"C:", "C:"},
        {"C:a/..", "C:"},
        {"C:..", "C:.."},
        {"C:../", "C:.."},
        {"C:a/../..", "C:.."},
        {"C:./a//b", "C:a\\b"},
    };
    for (const auto& [path, expected] : kCases) EXPECT_EQ(normal(path), expected) << path;
}

TEST(Path, names_keep_their_case_and_their_strange_units) {
    EXPECT_EQ(lexically_normal(u"C:/\u00C4B/\xD800/\u00E4\xDFFF/"),
              u"C:\\\u00C4B\\\xD800\\\u00E4\xDFFF\\");
}

// The standard library of the build machine knows the same rules for paths that have no root name.
TEST(Path, every_short_path_normalises_as_the_standard_library_says) {
    for (const std::string_view root : {"", "/", "C:/", "//server/", "//?/", "/\?\?/"}) {
        for_each_text("a./", 9, [root](const std::string& rest) {
            // Without a root the standard library takes a leading separator for the root; with
            // one, a rest that begins with a separator would make a device prefix a server.
            if (!rest.empty() && rest[0] == '/') return;
            const bool rooted = !root.empty();
            const std::string posix = (rooted ? "/" : "") + rest;
            std::string expected = std::filesystem::path(posix).lexically_normal().string();
            if (rooted) expected.insert(0, root.substr(0, root.size() - 1));
            for (char& c : expected) {
                if (c == '/') c = '\\';
            }
            ASSERT_EQ(normal(std::string(root) + rest), expected) << root << rest;
        });
    }
}

TEST(Path, the_normal_form_of_an_absolute_path_is_absolute_and_normal) {
    for_each_text("\\/?.:C", 7, [](const std::string& text) {
        if (!is_absolute_path(text)) return;
        const std::string once = normal(text);
        ASSERT_TRUE(is_absolute_path(once)) << text << " gave " << once;
        ASSERT_EQ(normal(once), once) << text;
        ASSERT_EQ(once.find('/'), once.npos) << text << " gave " << once;
        ASSERT_EQ(once.find("\\\\", 1), once.npos) << text << " gave " << once;
    });
}

// ---- The parent ---------------------------------------------------------------------------------

TEST(Path, parents_are_these) {
    const struct {
        std::string_view path;
        std::string_view parent;
    } kCases[] = {
        {"C:\\a\\b", "C:\\a"},
        {"C:/a/b", "C:/a"},
        {"C:\\a/b", "C:\\a"},
        {"C:\\a\\", "C:\\a"},
        {"C:\\a\\\\\\", "C:\\a"},
        {"C:\\a\\\\/b", "C:\\a"},
        {"C:\\a", "C:\\"},
        {"C:\\", "C:\\"},
        {"C:\\\\a", "C:\\\\"},
        {"C:/", "C:/"},
        {"C:", "C:"},
        {"C:a", "C:"},
        {"C:a\\b", "C:a"},
        {"\\a", "\\"},
        {"\\", "\\"},
        {"\\a\\b", "\\a"},
        {"", ""},
        {"a", ""},
        {"index.cache", ""},
        {"a\\b", "a"},
        {"a\\", "a"},
        {"..\\a", ".."},
        {"\\\\server", "\\\\server"},
        {"\\\\server\\", "\\\\server\\"},
        {"\\\\server\\share", "\\\\server\\"},
        {"\\\\server\\share\\a", "\\\\server\\share"},
        {"//server/share/a", "//server/share"},
        {"\\\\?\\C:\\a", "\\\\?\\C:"},
        {"\\\\?\\C:", "\\\\?\\"},
        {"\\\\.\\a", "\\\\.\\"},
        {"\\??\\a", "\\??\\"},
        {"\\??\\a\\b", "\\??\\a"},
        {"C:\\a\\.", "C:\\a"},
        {"C:\\a\\..", "C:\\a"},
    };
    for (const auto& [path, parent] : kCases) {
        EXPECT_EQ(narrow(parent_path(wide(path))), parent) << path;
    }
}

TEST(Path, every_short_path_has_the_parent_that_the_standard_library_says) {
    for (const std::string_view root : {"", "/", "C:/", "//server/", "//?/", "/\?\?/"}) {
        for_each_text("a./", 8, [root](const std::string& rest) {
            if (!rest.empty() && rest[0] == '/') return;
            const bool rooted = !root.empty();
            const std::string posix = (rooted ? "/" : "") + rest;
            std::string expected = std::filesystem::path(posix).parent_path().string();
            if (rooted) expected.insert(0, root.substr(0, root.size() - 1));
            const std::u16string path = wide(std::string(root) + rest);
            ASSERT_EQ(narrow(parent_path(path)), expected) << root << rest;
        });
    }
}

TEST(Path, a_device_is_a_prefix_and_one_name) {
    for (const char* const device :
         {"\\\\?\\C:", "\\\\.\\C:", "\\??\\C:", "//?/C:", "\\\\?\\Volume{1-2}", "\\\\?\\x"}) {
        EXPECT_TRUE(is_device_path(wide(device))) << device;
    }
    for (const char* const other :
         {"", "C:", "C:\\", "\\\\?", "\\\\?\\", "\\\\?\\C:\\", "\\\\?\\C:\\a", "\\\\server\\share",
          "\\\\s\\C:", "\\?\\C:", "\\x?\\C:", "\\\\?x\\C:"}) {
        EXPECT_FALSE(is_device_path(wide(other))) << other;
    }
}

// ---- Joining ------------------------------------------------------------------------------------

TEST(Path, a_name_is_appended_behind_exactly_one_separator) {
    const struct {
        std::string_view path;
        std::string_view joined;
    } kCases[] = {
        {"C:\\", "C:\\x"},
        {"C:\\a", "C:\\a\\x"},
        {"C:\\a\\", "C:\\a\\x"},
        {"C:/a/", "C:/a/x"},
        {"\\\\server", "\\\\server\\x"},
        {"\\\\server\\", "\\\\server\\x"},
        {"\\\\?", "\\\\?\\x"},
        {"\\", "\\x"},
        {"a", "a\\x"},
        {"ab", "ab\\x"},
        {"", "x"},
        {"C:", "C:x"},
        {"C:a", "C:a\\x"},
    };
    for (const auto& [path, joined] : kCases) {
        std::u16string text = wide(path);
        append_component(text, u"x");
        EXPECT_EQ(narrow(text), joined) << path;
    }
}

TEST(Path, joining_to_the_normal_folder_is_the_normal_form_of_the_joined_path) {
    for_each_text("\\.C:", 7, [](const std::string& text) {
        if (!is_absolute_path(text)) return;
        std::u16string folder_first = lexically_normal(wide(text));
        append_component(folder_first, u"x");
        std::u16string joined_first = wide(text);
        append_component(joined_first, u"x");
        ASSERT_EQ(narrow(folder_first), narrow(lexically_normal(joined_first))) << text;
    });
}

}  // namespace
}  // namespace system_search
