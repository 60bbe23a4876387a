// What the shipped DLL makes of answers that Wine never gives.
#include <memory>
#include <thread>

#include "dll/engine_host.hpp"
#include "dll/host_query.hpp"
#include "dll/import_table.hpp"
#include "dll/patched_system.hpp"

namespace patched_system {
namespace {

class PlatformPatchTest : public EngineHost {
protected:
    void SetUp() override {
        EngineHost::SetUp();
        script = {};
        HMODULE const library = GetModuleHandleW(L"system_search.dll");
        const auto replace = [&](const char* name, auto* replacement) {
            patches_.push_back(std::make_unique<ImportPatch>(library, name, replacement));
            ASSERT_TRUE(patches_.back()->applied()) << name << " is not imported";
        };
        replace("FindFirstFileExW", &find_first);
        replace("FindNextFileW", &find_next);
        replace("FindClose", &find_close);
        replace("GetFileAttributesW", &get_attributes);
        replace("GetFileAttributesExW", &get_attributes_ex);
        replace("CreateFileW", &create_file);
        replace("GetFileInformationByHandleEx", &get_information);
        replace("GetLogicalDriveStringsW", &get_drives);
        replace("GetDriveTypeW", &get_drive_type);
        replace("CreateThread", &create_thread);
        replace("WaitForSingleObject", &wait);
        replace("FlsSetValue", &set_slot);
        replace("GetProcAddress", &get_procedure);
        replace("FormatMessageW", &format_message);
        const std::lock_guard lock(cloud_mutex);
        cloud_modes.clear();
        enumerating_threads.clear();
    }
    void TearDown() override {
        script = {};
        ss_destroy(engine_);
        engine_ = nullptr;
        patches_.clear();
        EXPECT_EQ(open_searches, 0) << "an enumeration was left open";
        EngineHost::TearDown();
    }

    EngineStatus build_tree(const std::string& cache_path = "") {
        return build(path("tree"), cache_path);
    }

    std::vector<std::unique_ptr<ImportPatch>> patches_;
};

constexpr std::uint32_t kFile = SS_KIND_FILE;
constexpr std::uint32_t kFolder = SS_KIND_FOLDER;

// ---- Links and other reparse points -------------------------------------------------------------

TEST_F(PlatformPatchTest, junctions_and_links_are_files_that_nobody_follows) {
    make_file("tree/mark junction/unseen");
    make_file("tree/mark folder link/unseen");
    make_file("tree/mark file link");
    EXPECT_EQ(build_tree(), (EngineStatus{SS_ENGINE_READY, 3, 0, 0, 0}));
    EXPECT_EQ(indexed(), expected("tree", {{"mark junction", kFile},
                                           {"mark folder link", kFile},
                                           {"mark file link", kFile}}));
}

TEST_F(PlatformPatchTest, folder_that_turns_out_to_be_a_reparse_point_is_indexed_and_skipped) {
    make_file("tree/mark changed/unseen");
    make_file("tree/z/f");
    EXPECT_EQ(build_tree(), (EngineStatus{SS_ENGINE_READY, 3, 1, 0, 0}));
    EXPECT_EQ(indexed(),
              expected("tree", {{"mark changed", kFolder}, {"z", kFolder}, {"z/f", kFile}}));
}

TEST_F(PlatformPatchTest, other_reparse_tags_leave_folders_folders_and_files_files) {
    make_file("tree/mark cloud folder/in it");
    make_file("tree/mark cloud file");
    // The attribute query says that the folder is an ordinary one, and it alone decides.
    EXPECT_EQ(build_tree(), (EngineStatus{SS_ENGINE_READY, 3, 0, 0, 0}));
    EXPECT_EQ(indexed(), expected("tree", {{"mark cloud folder", kFolder},
                                           {"mark cloud folder/in it", kFile},
                                           {"mark cloud file", kFile}}));
}

TEST_F(PlatformPatchTest, tag_without_the_reparse_attribute_means_nothing) {
    make_file("tree/mark stale tag/in it");
    EXPECT_EQ(build_tree(), (EngineStatus{SS_ENGINE_READY, 2, 0, 0, 0}));
}

// ---- Skipped items ------------------------------------------------------------------------------

TEST_F(PlatformPatchTest, folder_whose_attributes_cannot_be_read_is_indexed_and_skipped) {
    make_file("tree/mark unreadable/unseen");
    EXPECT_EQ(build_tree(), (EngineStatus{SS_ENGINE_READY, 1, 1, 0, 0}));
    EXPECT_EQ(indexed(), expected("tree", {{"mark unreadable", kFolder}}));
}

TEST_F(PlatformPatchTest, folder_that_cannot_be_opened_is_skipped_unless_it_is_empty) {
    make_file("tree/mark unopenable/unseen");
    make_file("tree/z");
    // Access denied, sharing violation, not ready, file not found, path not found.
    for (const DWORD error : {5u, 32u, 21u, 2u, 3u}) {
        script.open_error = error;
        EXPECT_EQ(build_tree(), (EngineStatus{SS_ENGINE_READY, 2, 1, 0, 0})) << error;
    }
    script.open_error = ERROR_NO_MORE_FILES;
    EXPECT_EQ(build_tree(), (EngineStatus{SS_ENGINE_READY, 2, 0, 0, 0}));
    EXPECT_EQ(indexed(), expected("tree", {{"mark unopenable", kFolder}, {"z", kFile}}));
}

TEST_F(PlatformPatchTest, scope_that_cannot_be_opened_is_skipped_unless_it_is_empty) {
    make_file("mark unopenable/unseen");
    EXPECT_EQ(build(path("mark unopenable")), (EngineStatus{SS_ENGINE_READY, 0, 1, 0, 0}));
    script.open_error = ERROR_NO_MORE_FILES;
    EXPECT_EQ(build(path("mark unopenable")), (EngineStatus{SS_ENGINE_READY, 0, 0, 0, 0}));
}

TEST_F(PlatformPatchTest, entry_without_a_type_is_neither_indexed_nor_entered) {
    make_file("tree/mark typeless/unseen");
    make_file("tree/z");
    EXPECT_EQ(build_tree(), (EngineStatus{SS_ENGINE_READY, 1, 1, 0, 0}));
    EXPECT_EQ(indexed(), expected("tree", {{"z", kFile}}));
}

TEST_F(PlatformPatchTest, reading_that_fails_half_way_ends_the_walk_of_the_root) {
    make_file("tree/mark failing/1");
    make_file("tree/mark failing/2");
    const EngineStatus end = build_tree();
    EXPECT_EQ(end.state, SS_ENGINE_READY);
    EXPECT_EQ(end.skipped, 1u);
    EXPECT_EQ(indexed().count(with_slashes(path("tree")) + "/mark failing"), 1u);
    EXPECT_EQ(indexed().count(with_slashes(path("tree")) + "/mark failing/2"), 0u);
}

TEST_F(PlatformPatchTest, folder_without_dot_entries_loses_none_of_its_children) {
    make_files("tree/mark bare", 3);
    EXPECT_EQ(build_tree(), (EngineStatus{SS_ENGINE_READY, 4, 0, 0, 0}));
}

// ---- Names that are not valid UTF-16 ------------------------------------------------------------

TEST_F(PlatformPatchTest, unpaired_surrogate_fails_the_build_and_saves_nothing) {
    for (const char* name : {"mark high", "mark low"}) {
        make_file(std::string("tree/") + name);
        EXPECT_EQ(build_tree(path("cache")), (EngineStatus{SS_ENGINE_FAILED, 0, 0, 0, 0}));
        EXPECT_EQ(error(),
                  "A file name in " + with_slashes(path("tree")) + " is not valid UTF-16.");
        EXPECT_FALSE(std::filesystem::exists(scratch_ / "cache"));
        std::filesystem::remove_all(scratch_ / "tree");
    }
    make_file("tree/mark pair");
    EXPECT_EQ(build_tree(), (EngineStatus{SS_ENGINE_READY, 1, 0, 0, 0}));
    EXPECT_EQ(indexed(), expected("tree", {{"mark \xF0\x9F\x98\x80ir", kFile}}));
}

// ---- The status of the scope --------------------------------------------------------------------

TEST_F(PlatformPatchTest, errors_of_the_status_query_tell_missing_from_the_rest) {
    make_folder("tree");
    for (const DWORD error : {2u, 3u, 53u, 64u, 123u, 161u, 267u}) {
        script.status_error = error;
        EXPECT_EQ(build_tree().state, SS_ENGINE_FAILED);
        EXPECT_EQ(this->error(), "The selected folder is unavailable.") << error;
    }
    for (const DWORD error : {5u, 21u, 32u, 59u}) {
        script.status_error = error;
        EXPECT_EQ(build_tree().state, SS_ENGINE_FAILED);
        const std::string text = this->error();
        EXPECT_EQ(text.rfind("status: ", 0), 0u) << text;
        EXPECT_NE(text.find(path("tree")), std::string::npos) << text;
        EXPECT_EQ(text.find_first_of("\r\n"), std::string::npos) << text;
    }
}

TEST_F(PlatformPatchTest,
       error_without_an_english_text_is_told_in_the_systems_language_or_by_number) {
    make_folder("tree");
    script.status_error = 5;
    script.has_english_texts = false;
    EXPECT_EQ(build_tree().state, SS_ENGINE_FAILED);
    EXPECT_EQ(error(), "status: Zugriff verweigert: \"" + path("tree") + "\"");
    script.has_local_texts = false;
    EXPECT_EQ(build_tree().state, SS_ENGINE_FAILED);
    EXPECT_EQ(error(), "status: system error 5: \"" + path("tree") + "\"");
}

TEST_F(PlatformPatchTest, scope_that_is_a_link_is_judged_by_what_it_leads_to) {
    make_file("tree/f");
    constexpr DWORD kLink = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT;
    struct Row {
        FILE_ATTRIBUTE_TAG_INFO target;
        bool accepted;
    };
    const std::vector<Row> rows = {
        {{FILE_ATTRIBUTE_DIRECTORY, 0}, true},
        {{FILE_ATTRIBUTE_ARCHIVE, 0}, false},
        {{kLink, IO_REPARSE_TAG_MOUNT_POINT}, false},
        {{kLink, IO_REPARSE_TAG_SYMLINK}, false},
        {{kLink, 0x9000001A}, true},
    };
    script.status_attributes = kLink;
    for (const Row& row : rows) {
        script.target = row.target;
        EXPECT_EQ(build_tree().state, row.accepted ? SS_ENGINE_READY : SS_ENGINE_FAILED);
        EXPECT_EQ(error(), row.accepted ? "" : "The selected folder is unavailable.");
    }
}

TEST_F(PlatformPatchTest, scope_link_that_cannot_be_followed_is_unavailable) {
    make_folder("tree");
    script.status_attributes = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT;
    // File and path not found; access denied, cannot be accessed, leads in a circle.
    for (const DWORD error : {2u, 3u}) {
        script.target_error = error;
        EXPECT_EQ(build_tree().state, SS_ENGINE_FAILED);
        EXPECT_EQ(this->error(), "The selected folder is unavailable.") << error;
    }
    for (const DWORD error : {5u, 1920u, 1921u}) {
        script.target_error = error;
        EXPECT_EQ(build_tree().state, SS_ENGINE_FAILED);
        EXPECT_EQ(this->error().rfind("status: ", 0), 0u) << this->error();
    }
    script.target_error = 0;
    script.basic_error = ERROR_READ_FAULT;
    EXPECT_EQ(build_tree().state, SS_ENGINE_FAILED);
    EXPECT_EQ(error().rfind("status: ", 0), 0u) << error();
    script.basic_error = 0;

    // Only what has reparse points can be asked for a tag.
    script.tag_error = ERROR_INVALID_PARAMETER;
    EXPECT_EQ(build_tree().state, SS_ENGINE_READY);
    script.target = {FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT, 0};
    EXPECT_EQ(build_tree().state, SS_ENGINE_FAILED);
    EXPECT_EQ(error().rfind("status: ", 0), 0u) << error();
}

// ---- All local drives ---------------------------------------------------------------------------

TEST_F(PlatformPatchTest, fixed_and_removable_drives_are_walked_in_the_systems_order) {
    // Roots relative to the current folder, so that the list stays short.
    std::filesystem::current_path(scratch_);
    for (const char type : std::string_view("0123456")) {
        const std::string root = std::string("type ") + type + "\\";
        make_file(root + "f");
        script.drives += std::wstring(root.begin(), root.end()) + L'\0';
    }
    EXPECT_EQ(build(""), (EngineStatus{SS_ENGINE_READY, 2, 0, 0, 0})) << error();
    std::filesystem::current_path(scratch_.parent_path().parent_path());
    EXPECT_EQ(indexed(),
              (std::map<std::string, std::uint32_t>{{"type 2/f", kFile}, {"type 3/f", kFile}}));
}

TEST_F(PlatformPatchTest, drive_list_that_fails_or_does_not_fit_fails_the_build) {
    for (const DWORD result : {0u, 512u, 513u, 2000u}) {
        script.drives_result = result;
        EXPECT_EQ(build("").state, SS_ENGINE_FAILED);
        EXPECT_EQ(error(), "Cannot enumerate local drives.") << result;
    }
    script.drives_result.reset();
    script.drives = std::wstring(L"type 5\0type 4\0", 14);
    EXPECT_EQ(build("").state, SS_ENGINE_FAILED);
    EXPECT_EQ(error(), "No local drives are available.");
}

// ---- Threads ------------------------------------------------------------------------------------

TEST_F(PlatformPatchTest, thread_that_cannot_be_started_fails_the_start_without_a_text) {
    make_file("tree/f");
    build("relative");
    script.threads_start = false;
    EXPECT_EQ(ss_start(engine_, path("tree").c_str(), "", 0), 0);
    EXPECT_EQ(status(), (EngineStatus{SS_ENGINE_FAILED, 0, 0, 0, 0}));
    EXPECT_EQ(error(), "");
    script.threads_start = true;
    EXPECT_EQ(build_tree(), (EngineStatus{SS_ENGINE_READY, 1, 0, 0, 0}));
}

TEST_F(PlatformPatchTest, join_that_fails_fails_the_start_and_keeps_the_text) {
    build("relative");
    script.joins_fail = true;
    EXPECT_EQ(ss_start(engine_, path("tree").c_str(), "", 0), 0);
    EXPECT_EQ(status().state, SS_ENGINE_FAILED);
    EXPECT_EQ(error(), "Choose an absolute folder path.");
    script.joins_fail = false;
    make_file("tree/f");
    EXPECT_EQ(build_tree().state, SS_ENGINE_READY);
}

TEST_F(PlatformPatchTest, no_thread_of_the_library_asks_the_user_for_a_medium) {
    make_file("tree/f");
    const DWORD before = GetThreadErrorMode();
    ASSERT_EQ(before & SEM_FAILCRITICALERRORS, 0u) << "the host would never be asked anyway";
    build_tree();
    EXPECT_EQ(error_mode.exchange(0), SEM_FAILCRITICALERRORS);
    SystemSearchQuery* const listing = ss_query_directory(path("tree").c_str(), "", 0, 0, 1);
    ss_query_destroy(listing);
    EXPECT_EQ(error_mode, SEM_FAILCRITICALERRORS);
    EXPECT_EQ(GetThreadErrorMode(), before) << "the host's threads keep their own";
}

TEST_F(PlatformPatchTest, only_the_librarys_own_threads_ask_to_see_cloud_folders_as_folders) {
    make_file("tree/a/f");
    build_tree();
    std::set<DWORD> asked;
    for (int round = 0; round < 3; ++round) {
        ss_query_destroy(ss_query_directory(path("tree").c_str(), "", 0, 0, 1));
        ss_query_destroy(ss_query(engine_, "", 0, 0, 1));
    }
    const std::lock_guard lock(cloud_mutex);
    ASSERT_GE(cloud_modes.size(), 7u) << "the build, and every query";
    for (const CloudMode& call : cloud_modes) {
        EXPECT_EQ(call.mode, 1) << "placeholders look like ordinary files and folders";
        EXPECT_NE(call.thread, GetCurrentThreadId()) << "a thread of the host";
        asked.insert(call.thread);
    }
    EXPECT_EQ(cloud_modes.front().searches_before, 0) << "asked before the first folder is read";
    for (const DWORD thread : enumerating_threads) EXPECT_TRUE(asked.contains(thread));
}

TEST_F(PlatformPatchTest, system_that_does_not_know_cloud_folders_is_not_asked) {
    script.knows_cloud_folders = false;
    make_file("tree/a/f");
    EXPECT_EQ(build_tree(), (EngineStatus{SS_ENGINE_READY, 2, 0, 0, 0}));
    const std::lock_guard lock(cloud_mutex);
    EXPECT_TRUE(cloud_modes.empty());
}

// Whoever goes on would free what the thread still uses.
TEST_F(PlatformPatchTest, destroying_ends_the_process_when_its_join_fails) {
    make_file("tree/f");
    build_tree();
    EXPECT_DEATH(
        {
            script.joins_fail = true;
            ss_destroy(engine_);
        },
        "");
}

TEST_F(PlatformPatchTest, thread_that_destroys_its_own_engine_ends_the_process) {
    make_file("tree/f");
    EXPECT_DEATH(
        {
            script.destroyed_by_its_walk = engine_;
            script.may_destroy = CreateEventW(nullptr, TRUE, FALSE, nullptr);
            ss_start(engine_, path("tree").c_str(), "", 0);
            SetEvent(script.may_destroy);
            finish();
        },
        "");
}

TEST_F(PlatformPatchTest, thread_without_a_slot_for_its_text_gets_a_fixed_one) {
    std::thread([&] {
        script.slots_run_out = true;
        EXPECT_STREQ(ss_error(engine_), "Cannot read index status.");
        script.slots_run_out = false;
        EXPECT_STREQ(ss_error(engine_), "");
    }).join();
}

// ---- Volumes that cannot do everything ----------------------------------------------------------

TEST_F(PlatformPatchTest, folder_is_opened_plainly_where_more_is_refused) {
    make_file("tree/a/f");
    for (const DWORD error : {50u, 87u, 1113u}) {
        script.extras_error = error;
        EXPECT_EQ(build_tree(), (EngineStatus{SS_ENGINE_READY, 2, 0, 0, 0})) << error;
    }
    // Any other error is final, and one that the plain call meets is what counts.
    script.extras_error = ERROR_ACCESS_DENIED;
    EXPECT_EQ(build_tree(), (EngineStatus{SS_ENGINE_READY, 0, 1, 0, 0}));
}

TEST_F(PlatformPatchTest, root_of_an_empty_volume_is_an_empty_folder) {
    script.bare_roots = {L"C:\\*", L"C:/*", L"//server/share\\*", L"\\\\?\\C:\\*"};
    for (const char* scope : {"C:\\", "C:/", "\\\\?\\C:\\"}) {
        EXPECT_EQ(build(scope), (EngineStatus{SS_ENGINE_READY, 0, 0, 0, 0})) << scope << error();
    }
    for (const char* folder : {"C:\\", "C:/", "//server/share"}) {
        const HostQuery listing(ss_query_directory(folder, "", 0, 0, 1));
        EXPECT_EQ(listing.status().state, SS_QUERY_DONE) << folder;
        EXPECT_EQ(listing.status().index_entries, 0u);
    }
}

}  // namespace
}  // namespace patched_system
