// Trees that are big or odd: deep, wide, long-named, named from every plane of Unicode. Nothing
// recurses by depth, nothing overflows, and the counters add up.
#include <set>
#include <string>

#include "common/text.hpp"
#include "core/faults/small_machine.hpp"

namespace system_search::simulated {
namespace {

class BigTree : public VolumeTest {
protected:
    void SetUp() override {
        VolumeTest::SetUp();
        engine_ = ss_create();
    }
    void TearDown() override {
        ss_destroy(engine_);
        VolumeTest::TearDown();
    }
    EngineStatus build(const char* scope = "C:/tree") {
        EXPECT_EQ(ss_start(engine_, scope, "", 1), 1);
        return wait(engine_);
    }
    std::uint32_t matched(const char* text, std::uint32_t flags = 0) {
        SystemSearchQuery* const query = ss_query(engine_, text, flags, SS_KIND_ANY, 1);
        const std::uint32_t matched = wait(query).matched;
        ss_query_destroy(query);
        return matched;
    }

    SystemSearchEngine* engine_ = nullptr;
};

TEST_F(BigTree, a_chain_of_two_thousand_folders_is_walked_to_its_end) {
    add_generated_folder(u"C:\\tree", folder_chain(u"level", 2000));
    const EngineStatus status = build();
    EXPECT_EQ(status.state, SS_ENGINE_READY);
    EXPECT_EQ(status.entries, 2000u);
    EXPECT_EQ(status.skipped, 0u);
    EXPECT_EQ(matched("level"), 2000u);
    EXPECT_EQ(matched("*/level/level/level", SS_MATCH_PATH), 1998u);
}

TEST_F(BigTree, a_chain_is_followed_below_the_longest_path_and_what_is_too_long_is_counted) {
    // Each level adds 100 bytes to "C:/tree": 327 of them are within 32,768 bytes.
    add_generated_folder(u"C:\\tree", folder_chain(std::u16string(99, u'n'), 500));
    const EngineStatus status = build();
    EXPECT_EQ(status.state, SS_ENGINE_READY);
    EXPECT_EQ(status.entries, 327u);
    EXPECT_EQ(status.skipped, 500u - 327u);
}

TEST_F(BigTree, a_folder_of_a_million_children_is_indexed_and_listed) {
    constexpr std::uint32_t kMillion = 1'000'000;
    add_generated_folder(u"C:\\tree", numbered_files(kMillion));
    const EngineStatus status = build();
    EXPECT_EQ(status.state, SS_ENGINE_READY);
    EXPECT_EQ(status.entries, kMillion);
    EXPECT_EQ(matched(""), kMillion);
    EXPECT_EQ(matched("f0012345*"), 10u);

    SystemSearchQuery* const listing =
        ss_query_directory("C:/tree", "f0099999?", 0, SS_KIND_ANY, 1000);
    const QueryStatus found = wait(listing);
    EXPECT_EQ(found.state, SS_QUERY_DONE);
    EXPECT_EQ(found.index_entries, kMillion);
    EXPECT_EQ(found.matched, 10u);
    EXPECT_STREQ(ss_query_path(listing, 0), "C:/tree/f00999990");
    ss_query_destroy(listing);
}

// A name of as many units as a name can have, all of one code point.
std::u16string longest_name(char32_t code_point) {
    std::u16string character;
    if (code_point < 0x10000) {
        character = static_cast<char16_t>(code_point);
    } else {
        const char32_t rest = code_point - 0x10000;
        character = {static_cast<char16_t>(0xD800 + (rest >> 10)),
                     static_cast<char16_t>(0xDC00 + (rest & 0x3FF))};
    }
    std::u16string name;
    while (name.size() + character.size() <= 255) name += character;
    while (name.size() < 255) name += u'x';
    return name;
}

TEST_F(BigTree, the_longest_names_of_every_plane_are_indexed_found_and_given_back) {
    std::set<std::string> names;
    add_folder(u"C:\\tree");
    // The first and the last code points of every plane that are characters of their own, and the
    // borders of each UTF-8 length.
    std::vector<char32_t> code_points = {0x21, 0x7E, 0x80, 0x7FF, 0x800, 0xD7FF, 0xE000, 0xFFFD};
    for (char32_t plane = 1; plane <= 16; ++plane) {
        code_points.push_back(plane * 0x10000);
        code_points.push_back(plane * 0x10000 + 0xFFFF);
    }
    for (const char32_t code_point : code_points) {
        const std::u16string name = longest_name(code_point);
        names.insert(utf8_from_wide(name));
        add_file(u"C:\\tree\\" + name);
    }
    const EngineStatus status = build();
    EXPECT_EQ(status.state, SS_ENGINE_READY) << ss_error(engine_);
    ASSERT_EQ(status.entries, code_points.size());

    std::set<std::string> given;
    SystemSearchQuery* const query = ss_query(engine_, "", 0, SS_KIND_ANY, 1000);
    const QueryStatus found = wait(query);
    for (std::uint32_t i = 0; i < found.count; ++i) {
        given.insert(std::string(ss_query_path(query, i)).substr(8));
    }
    ss_query_destroy(query);
    EXPECT_EQ(given, names);
    for (const std::string& name : names) {
        EXPECT_EQ(matched(name.c_str(), SS_MATCH_CASE), 1u);
        // One "?" for each code point, and only so many.
        std::string any;
        for (const char byte : name) {
            if ((static_cast<unsigned char>(byte) & 0xC0) != 0x80) any += '?';
        }
        EXPECT_GE(matched(any.c_str()), 1u);
    }
    EXPECT_EQ(matched(std::string(256, '?').c_str()), 0u);
}

TEST_F(BigTree, names_with_blanks_at_their_ends_keep_them) {
    for (const char16_t* name : {u" leading", u"trailing ", u" ", u"  both  ", u"dot.", u"..."}) {
        add_file(std::u16string(u"C:\\tree\\") + name);
    }
    const EngineStatus status = build();
    EXPECT_EQ(status.entries, 6u);
    EXPECT_EQ(matched(" "), 4u);
    EXPECT_EQ(matched(" *"), 3u);
    EXPECT_EQ(matched("* "), 3u);
    EXPECT_EQ(matched("..."), 1u);
}

}  // namespace
}  // namespace system_search::simulated
