// From the scope text to the folders that are walked, and every way in which that fails.
#include "engine/scope.hpp"

#include <exception>

#include "rules/engine/engine_test_support.hpp"

namespace system_search {
namespace {

class ScopeTest : public EngineTest {
protected:
    // The message of the failure; "" when there was none.
    static std::string failure(std::string_view scope) {
        try {
            resolve_scope(scope);
        } catch (const std::exception& thrown) {
            return thrown.what();
        }
        return "";
    }
};

using Roots = std::vector<std::u16string>;

constexpr const char* kNotEnumerated = "Cannot enumerate local drives.";
constexpr const char* kNoDrives = "No local drives are available.";
constexpr const char* kNotAbsolute = "Choose an absolute folder path.";
constexpr const char* kUnavailable = "The selected folder is unavailable.";

// ---- All local drives ---------------------------------------------------------------------------

TEST_F(ScopeTest, empty_scope_gives_fixed_and_removable_drives_in_the_systems_order) {
    add_drive(u"C:\\", 3);
    add_drive(u"D:\\", 5);
    add_drive(u"E:\\", 2);
    EXPECT_EQ(resolve_scope(""), (Roots{u"C:\\", u"E:\\"}));
}

TEST_F(ScopeTest, every_other_drive_type_is_left_out) {
    for (std::uint32_t type = 0; type <= 8; ++type) {
        reset();
        add_drive(u"X:\\", type);
        add_drive(u"A:\\", 3);
        const bool is_local = type == 2 || type == 3;
        EXPECT_EQ(resolve_scope(""), is_local ? (Roots{u"X:\\", u"A:\\"}) : (Roots{u"A:\\"}))
            << type;
    }
}

TEST_F(ScopeTest, walk_of_all_drives_never_touches_a_network_drive) {
    add_drive(u"C:\\", 3);
    add_drive(u"N:\\", 4);
    add_drive(u"U:\\", 2);
    for (const char16_t* file : {u"C:\\1", u"N:\\2", u"U:\\3"}) add_file(file);
    EXPECT_EQ(build(""), (EngineStatus{SS_ENGINE_READY, 2, 0, 0, 0}));
    EXPECT_EQ(listing(), (Listing{"C:/1", "U:/3"}));
}

TEST_F(ScopeTest, drive_list_that_cannot_be_read_fails) {
    add_drive(u"C:\\", 3);
    fail_platform_call(1, platform::kAccessDenied, kDriveStrings);
    EXPECT_EQ(failure(""), kNotEnumerated);
    EXPECT_EQ(failure(""), "") << "only the first call was to fail";
}

TEST_F(ScopeTest, drive_list_of_512_units_does_not_fit) {
    for (const std::size_t units : {511u, 512u, 513u}) {
        reset();
        for (int drive = 0; drive < 100; ++drive) add_drive(u"C:\\", 3);
        // The root of the last drive and its NUL fill the list up.
        add_drive(u"\\\\s\\" + std::u16string(units - 400 - 5, u'r'), 3);
        EXPECT_EQ(failure(""), units == 511 ? "" : kNotEnumerated) << units;
    }
}

TEST_F(ScopeTest, machine_without_local_drives_fails) {
    add_drive(u"D:\\", 5);
    add_drive(u"N:\\", 4);
    EXPECT_EQ(build("").state, SS_ENGINE_FAILED);
    EXPECT_EQ(error(), kNoDrives);
}

// ---- One chosen folder --------------------------------------------------------------------------

TEST_F(ScopeTest, path_that_is_not_absolute_is_refused) {
    add_folder(u"C:\\folder");
    for (const char* scope :
         {"folder", "C:", "C:folder", "\\folder", "/folder", ".", "..", "\\", "/", "1:\\folder",
          "CC:\\folder", " C:\\folder", ":\\folder", "\\\\", "//"}) {
        EXPECT_EQ(failure(scope), kNotAbsolute) << scope;
    }
}

TEST_F(ScopeTest, refused_scope_fails_the_build_with_its_text) {
    const EngineStatus failed{SS_ENGINE_FAILED, 0, 0, 0, 0};
    add_file(u"C:\\file");
    EXPECT_EQ(build("folder", "C:\\cache"), failed);
    EXPECT_EQ(error(), kNotAbsolute);
    EXPECT_EQ(build("C:\\file", "C:\\cache"), failed);
    EXPECT_EQ(error(), kUnavailable);
    EXPECT_EQ(build("C:\\missing", "C:\\cache"), failed);
    EXPECT_EQ(error(), kUnavailable);
    EXPECT_FALSE(snapshot().complete);
    EXPECT_FALSE(exists(u"C:\\cache"));
}

TEST_F(ScopeTest, every_error_that_means_missing_gives_the_same_sentence) {
    add_folder(u"C:\\folder");
    for (const platform::Error error : {2u, 3u, 53u, 64u, 123u, 161u, 267u}) {
        fail_node(u"C:\\folder", &NodeFaults::status, error);
        EXPECT_EQ(failure("C:\\folder"), kUnavailable) << error;
    }
}

TEST_F(ScopeTest, any_other_error_of_the_status_query_is_told_with_the_path) {
    add_folder(u"C:\\folder");
    for (const platform::Error error : {1u, 5u, 21u, 32u, 59u, 1231u}) {
        fail_node(u"C:\\folder", &NodeFaults::status, error);
        EXPECT_EQ(failure("C:/folder"),
                  "status: " + platform::error_message(error) + ": \"C:/folder\"");
        EXPECT_EQ(build("C:/folder").state, SS_ENGINE_FAILED) << error;
        EXPECT_EQ(this->error().substr(0, 7), "status:");
    }
}

TEST_F(ScopeTest, attributes_decide_what_is_a_folder) {
    constexpr std::uint32_t kFolder = platform::kAttributeDirectory;
    constexpr std::uint32_t kReparse = platform::kAttributeReparsePoint;
    struct Row {
        platform::Status status;
        bool accepted;
    };
    const std::vector<Row> rows = {
        {{kFolder, 0}, true},
        {{kAttributeArchive, 0}, false},
        {{0, 0}, false},
        {{kFolder | kReparse, platform::kTagMountPoint}, false},
        {{kFolder | kReparse, platform::kTagSymbolicLink}, false},
        {{kFolder | kReparse, 0x9000001A}, true},
        {{kFolder | kReparse, 0}, true},
        {{kAttributeArchive | kReparse, 0x9000001A}, false},
        {{kFolder, platform::kTagMountPoint}, true},  // the tag means nothing without the bit
    };
    for (const Row& row : rows) {
        add_folder(u"C:\\folder");
        NodeFaults faults;
        faults.status_result = row.status;
        set_faults(u"C:\\folder", faults);
        EXPECT_EQ(failure("C:\\folder"), row.accepted ? "" : kUnavailable)
            << std::hex << row.status.attributes << " " << row.status.reparse_tag;
    }
}

TEST_F(ScopeTest, link_that_leads_to_a_folder_is_walked_under_its_own_name) {
    add_file(u"C:\\target\\f");
    add_junction(u"C:\\junction", u"C:\\target");
    add_folder_symlink(u"C:\\link", u"C:\\target");
    EXPECT_EQ(build("C:\\junction").state, SS_ENGINE_READY);
    EXPECT_EQ(listing(), (Listing{"C:/junction/f"}));
    EXPECT_EQ(build("C:\\link").state, SS_ENGINE_READY);
    EXPECT_EQ(listing(), (Listing{"C:/link/f"}));
}

TEST_F(ScopeTest, link_that_cannot_be_followed_to_a_folder_is_unavailable) {
    add_file(u"C:\\file");
    add_junction(u"C:\\broken");
    add_folder_symlink(u"C:\\dangling", u"C:\\missing");
    add_file_symlink(u"C:\\to file", u"C:\\file");
    for (const char* scope : {"C:\\broken", "C:\\dangling", "C:\\to file"}) {
        EXPECT_EQ(failure(scope), kUnavailable) << scope;
    }
}

TEST_F(ScopeTest, link_that_the_system_cannot_follow_is_told_in_its_words) {
    add_folder_symlink(u"C:\\circle", u"C:\\circle");
    EXPECT_EQ(failure("C:\\circle").rfind("status: ", 0), 0u) << failure("C:\\circle");
    add_folder(u"C:\\folder");
    for (const platform::Error error :
         {platform::kCannotAccessFile, platform::kCannotResolveName}) {
        fail_node(u"C:\\folder", &NodeFaults::status, error);
        EXPECT_EQ(failure("C:\\folder").rfind("status: ", 0), 0u) << error;
    }
}

TEST_F(ScopeTest, scope_is_walked_in_its_normal_form) {
    add_file(u"C:\\a\\b\\f");
    add_folder(u"C:\\x");
    struct Row {
        const char* scope;
        const char16_t* root;
    };
    const std::vector<Row> rows = {
        {"C:\\a\\b", u"C:\\a\\b"},   {"C:/a/b", u"C:\\a\\b"},
        {"C:/a/./b", u"C:\\a\\b"},   {"C:\\x\\..\\a/b", u"C:\\a\\b"},
        {"C:\\\\a//b", u"C:\\a\\b"}, {"C:/../a/b", u"C:\\a\\b"},
        {"C:/a/b/", u"C:\\a\\b\\"},  {"C:/a/b/x/..", u"C:\\a\\b\\"},
        {"C:\\", u"C:\\"},           {"c:/", u"c:\\"},
    };
    add_folder(u"C:\\a\\b\\x");
    for (const Row& row : rows) {
        EXPECT_EQ(resolve_scope(row.scope), (Roots{row.root})) << row.scope;
        if (row.root[2] != 0 && row.root[3] == u'a') {
            EXPECT_EQ(build(row.scope).state, SS_ENGINE_READY);
            EXPECT_EQ(listing(), (Listing{"C:/a/b/f", "C:/a/b/x/"})) << row.scope;
        }
    }
}

TEST_F(ScopeTest, scope_that_is_not_utf8_fails_the_build) {
    EXPECT_EQ(build("C:\\\xFF").state, SS_ENGINE_FAILED);
    EXPECT_EQ(error(), "The text is not valid UTF-8.");
}

}  // namespace
}  // namespace system_search
