// The engine of the shipped DLL on a real file system. engine_test.sh prepares what only the Unix
// side can make: a folder that denies listing, and links.
#include <cstdlib>
#include <thread>

#include "dll/engine_host.hpp"
#include "dll/machine.hpp"

namespace {

constexpr EngineStatus kFresh{SS_ENGINE_IDLE, 0, 0, 0, 0};
constexpr const char* kNotAbsolute = "Choose an absolute folder path.";
constexpr const char* kUnavailable = "The selected folder is unavailable.";

class EngineTest : public EngineHost {
protected:
    // What engine_test.sh made.
    static std::string prepared(const std::string& name) {
        const char* const folder = std::getenv("SS_PREPARED");
        EXPECT_NE(folder, nullptr) << "run this through engine_test.sh";
        return folder != nullptr ? std::string(folder) + "\\" + name : "";
    }
};

// ---- A fresh engine and null arguments ----------------------------------------------------------

TEST_F(EngineTest, fresh_engine_is_idle_and_empty) {
    EXPECT_EQ(status(), kFresh);
    EXPECT_EQ(error(), "");
    EXPECT_TRUE(indexed().empty());
}

TEST_F(EngineTest, null_arguments_are_harmless) {
    EngineStatus untouched{7, 7, 7, 7, 7};
    ss_status(nullptr, &untouched);
    EXPECT_EQ(untouched, (EngineStatus{7, 7, 7, 7, 7}));
    ss_status(engine_, nullptr);
    ss_status(nullptr, nullptr);
    ss_cancel(nullptr);
    ss_destroy(nullptr);
    EXPECT_EQ(ss_start(nullptr, "", "", 0), 0);
    EXPECT_EQ(ss_start(engine_, nullptr, "", 0), 0);
    EXPECT_EQ(ss_start(engine_, "", nullptr, 0), 0);
    EXPECT_EQ(status(), kFresh);
    EXPECT_STREQ(ss_error(nullptr), "Library unavailable.");
}

// ---- Walks --------------------------------------------------------------------------------------

TEST_F(EngineTest, empty_folder_gives_no_entries) {
    EXPECT_EQ(build(scratch_.string()), (EngineStatus{SS_ENGINE_READY, 0, 0, 0, 0}));
    EXPECT_EQ(error(), "");
}

TEST_F(EngineTest, files_and_folders_at_every_depth_are_indexed_with_their_kinds) {
    make_file("tree/a.txt");
    make_file("tree/.hidden");
    make_file("tree/..two dots");
    make_file("tree/Sub/inner/deep.txt");
    make_folder("tree/empty");
    EXPECT_EQ(build(path("tree")), (EngineStatus{SS_ENGINE_READY, 7, 0, 0, 0}));
    EXPECT_EQ(indexed(), expected("tree", {{"a.txt", SS_KIND_FILE},
                                           {".hidden", SS_KIND_FILE},
                                           {"..two dots", SS_KIND_FILE},
                                           {"Sub", SS_KIND_FOLDER},
                                           {"Sub/inner", SS_KIND_FOLDER},
                                           {"Sub/inner/deep.txt", SS_KIND_FILE},
                                           {"empty", SS_KIND_FOLDER}}));
}

TEST_F(EngineTest, names_beyond_ascii_are_utf8) {
    std::ofstream(scratch_ / L"\u00DCber \u65E5\u672C.txt");
    EXPECT_EQ(build(scratch_.string()).entries, 1u);
    EXPECT_EQ(indexed().begin()->first, with_slashes(scratch_.string()) +
                                            "/\xC3\x9C"
                                            "ber \xE6\x97\xA5\xE6\x9C\xAC.txt");
}

TEST_F(EngineTest, a_full_shard_and_one_more_file) {
    make_folders("1024", 32, 31);
    make_folders("1025", 32, 31);
    make_file("1025/one more");
    EXPECT_EQ(build(path("1024")), (EngineStatus{SS_ENGINE_READY, 1024, 0, 0, 0}));
    EXPECT_EQ(build(path("1025")), (EngineStatus{SS_ENGINE_READY, 1025, 0, 0, 0}));
}

TEST_F(EngineTest, denied_folder_is_indexed_counted_once_and_its_siblings_go_on) {
    NEEDS_PREPARED("SS_PREPARED");
    const std::string folder = prepared("denying");
    EXPECT_EQ(build(folder), (EngineStatus{SS_ENGINE_READY, 4, 1, 0, 0}));
    const std::string base = with_slashes(folder);
    EXPECT_EQ(indexed(), (std::map<std::string, std::uint32_t>{{base + "/a", SS_KIND_FILE},
                                                               {base + "/denied", SS_KIND_FOLDER},
                                                               {base + "/z", SS_KIND_FOLDER},
                                                               {base + "/z/f", SS_KIND_FILE}}));
}

TEST_F(EngineTest, denied_scope_is_one_skipped_item) {
    NEEDS_PREPARED("SS_PREPARED");
    EXPECT_EQ(build(prepared("denying\\denied")), (EngineStatus{SS_ENGINE_READY, 0, 1, 0, 0}));
    EXPECT_EQ(error(), "");
}

// Wine shows a link to a folder with the reparse-point attribute, but without a tag.
TEST_F(EngineTest, folder_link_is_one_entry_that_is_not_followed) {
    NEEDS_PREPARED("SS_PREPARED");
    const std::string folder = prepared("linking");
    EXPECT_EQ(build(folder), (EngineStatus{SS_ENGINE_READY, 3, 1, 0, 0}));
    const std::string base = with_slashes(folder);
    EXPECT_EQ(indexed(), (std::map<std::string, std::uint32_t>{{base + "/f", SS_KIND_FILE},
                                                               {base + "/file link", SS_KIND_FILE},
                                                               {base + "/link", SS_KIND_FOLDER}}));
}

TEST_F(EngineTest, scope_may_be_a_link_to_a_folder) {
    NEEDS_PREPARED("SS_PREPARED");
    EXPECT_EQ(build(prepared("linking\\link")), (EngineStatus{SS_ENGINE_READY, 1, 0, 0, 0}));
    EXPECT_EQ(indexed().begin()->first, with_slashes(prepared("linking\\link")) + "/inside");
    EXPECT_EQ(build(prepared("linking\\file link")).state, SS_ENGINE_FAILED);
    EXPECT_EQ(error(), kUnavailable);
}

// ---- Scopes -------------------------------------------------------------------------------------

TEST_F(EngineTest, scope_that_is_not_absolute_fails_with_its_text) {
    make_folder("folder");
    std::filesystem::current_path(scratch_);
    for (const char* scope : {"folder", "Z:folder", "Z:", "\\folder", "/folder", ".", ".."}) {
        EXPECT_EQ(build(scope), (EngineStatus{SS_ENGINE_FAILED, 0, 0, 0, 0})) << scope;
        EXPECT_EQ(error(), kNotAbsolute) << scope;
    }
    std::filesystem::current_path(scratch_.parent_path().parent_path());
}

TEST_F(EngineTest, scope_that_is_missing_or_a_file_fails_with_its_text) {
    make_file("file");
    for (const std::string& scope : {path("missing"), path("missing/below"), path("file"),
                                     path("file/below"), path("bad|name"), std::string("Q:\\")}) {
        EXPECT_EQ(build(scope), (EngineStatus{SS_ENGINE_FAILED, 0, 0, 0, 0})) << scope;
        EXPECT_EQ(error(), kUnavailable) << scope;
    }
}

TEST_F(EngineTest, scope_that_is_not_utf8_fails_with_a_text) {
    EXPECT_EQ(build("Z:\\\xFF\xFE").state, SS_ENGINE_FAILED);
    EXPECT_EQ(error(), "The text is not valid UTF-8.");
}

TEST_F(EngineTest, slashes_and_dots_in_the_scope_vanish_from_the_paths) {
    make_file("tree/f");
    const std::string plain = scratch_.string();
    for (const std::string& scope :
         {plain + "\\tree", with_slashes(plain) + "/tree", plain + "\\.\\tree\\",
          plain + "\\\\tree", plain + "\\x\\..\\tree", plain + "/tree/sub/..",
          plain + "\\tree\\\\"}) {
        make_folder("x");
        make_folder("tree/sub");
        EXPECT_EQ(build(scope).state, SS_ENGINE_READY) << scope << ": " << error();
        EXPECT_EQ(indexed(), expected("tree", {{"f", SS_KIND_FILE}, {"sub", SS_KIND_FOLDER}}))
            << scope;
    }
}

// ---- Restarting ---------------------------------------------------------------------------------

TEST_F(EngineTest, ready_and_failed_lead_to_a_new_build) {
    NEEDS_PREPARED("SS_PREPARED");
    make_files("tree", 3);
    const EngineStatus ready{SS_ENGINE_READY, 3, 0, 0, 0};
    const auto restart = [&] {
        ASSERT_EQ(ss_start(engine_, path("tree").c_str(), "", 0), 1);
        const EngineStatus now = status();
        EXPECT_EQ(now.skipped + now.limited + now.from_cache, 0u);
        EXPECT_EQ(error(), "");
        EXPECT_EQ(finish(), ready);
    };
    ASSERT_EQ(build(prepared("denying")).skipped, 1u);
    restart();

    ASSERT_EQ(build("relative").state, SS_ENGINE_FAILED);
    ASSERT_EQ(error(), kNotAbsolute);
    restart();
}

TEST_F(EngineTest, cancel_without_a_build_shows_nowhere_and_is_cleared_by_the_next_start) {
    make_files("tree", 2);
    const EngineStatus ready{SS_ENGINE_READY, 2, 0, 0, 0};
    ss_cancel(engine_);
    EXPECT_EQ(status(), kFresh);
    EXPECT_EQ(build(path("tree")), ready);
    ss_cancel(engine_);
    EXPECT_EQ(status(), ready);
    EXPECT_EQ(build(path("tree")), ready);
}

// ---- Cache --------------------------------------------------------------------------------------

TEST_F(EngineTest, saved_index_is_loaded_by_the_next_build_unless_it_is_forced_to_walk) {
    make_files("tree", 5);
    const std::string cache = path("new/folders/cache");
    EXPECT_EQ(build(path("tree"), cache), (EngineStatus{SS_ENGINE_READY, 5, 0, 0, 0}));
    make_files("tree", 7);
    EXPECT_EQ(build(path("tree"), cache), (EngineStatus{SS_ENGINE_READY, 5, 0, 0, 1}));
    EXPECT_EQ(build(path("tree"), cache, 1), (EngineStatus{SS_ENGINE_READY, 7, 0, 0, 0}));
}

TEST_F(EngineTest, cache_that_cannot_be_saved_leaves_a_usable_index_and_a_text) {
    make_files("tree", 5);
    make_file("file");
    EXPECT_EQ(build(path("tree"), path("file/cache")), (EngineStatus{SS_ENGINE_READY, 5, 0, 0, 0}));
    EXPECT_EQ(error(), "Index is usable, but its cache could not be saved.");
}

// ---- Error texts --------------------------------------------------------------------------------

TEST_F(EngineTest, error_text_lives_in_a_buffer_of_the_calling_thread) {
    const char* const first = ss_error(engine_);
    EXPECT_STREQ(first, "");
    build("relative");
    EXPECT_EQ(ss_error(engine_), first);
    EXPECT_STREQ(first, kNotAbsolute);

    SystemSearchEngine* const other = ss_create();
    std::thread([&] {
        const char* const theirs = ss_error(other);
        EXPECT_NE(theirs, first);
        EXPECT_STREQ(theirs, "");
    }).join();
    EXPECT_STREQ(first, kNotAbsolute) << "another thread's call leaves this thread's text alone";

    EXPECT_EQ(ss_error(other), first) << "one buffer for all engines";
    EXPECT_STREQ(first, "");
    ss_destroy(other);
}

}  // namespace
