// The snippets of docs/guide.md do what the guide says of them.
#include <gtest/gtest.h>
#include <windows.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "dll/held_build.hpp"
#include "system_search.h"
extern "C" {
#include "guide.h"
}

namespace fs = std::filesystem;

namespace {

struct Shown {
    std::vector<std::string> paths;
    std::string sentence;
    int times = 0;
};
Shown shown;

std::string utf8(const fs::path& path) {
    const std::u8string text = path.generic_u8string();
    return {text.begin(), text.end()};
}

class Guide : public ::testing::Test {
protected:
    Guide() : folder_(fs::temp_directory_path() / L"guide" / name()) {
        shown = {};
        fs::remove_all(folder_);
        fs::create_directories(folder_ / "tree");
        add("alpha.txt");
        add("beta.txt");
    }
    ~Guide() override { fs::remove_all(folder_); }

    static std::string name() {
        return ::testing::UnitTest::GetInstance()->current_test_info()->name();
    }
    void add(const std::string& file) const { std::ofstream(folder_ / "tree" / file) << "x"; }
    std::string tree() const { return utf8(folder_ / "tree"); }
    std::string cache() const { return utf8(folder_ / "cache" / "names.index"); }

    fs::path folder_;
};

void wait_for(SystemSearchEngine* engine) {
    EngineStatus build = {SS_ENGINE_RUNNING, 0, 0, 0, 0};
    while (ss_status(engine, &build), build.state == SS_ENGINE_RUNNING) Sleep(1);
}

// Ticks until nothing is pending.
void settle(SearchPane& pane) {
    do {
        Sleep(1);
        search_tick(&pane);
    } while (pane.pending != nullptr);
}

TEST_F(Guide, the_list_shows_the_last_text_and_follows_the_growing_index) {
    SystemSearchEngine* engine = ss_create();
    SearchPane pane = {};
    pane.engine = engine;
    search_text_changed(&pane, "a");
    settle(pane);
    EXPECT_EQ(shown.times, 1);
    EXPECT_TRUE(shown.paths.empty());
    EXPECT_EQ(shown.sentence, "0 found, in the 0 names read so far");

    ASSERT_EQ(ss_start(engine, tree().c_str(), "", 0), 1);
    wait_for(engine);
    settle(pane);
    EXPECT_EQ(shown.sentence, "2 found");

    search_text_changed(&pane, "al");
    search_text_changed(&pane, "alp");
    settle(pane);
    EXPECT_EQ(shown.paths, std::vector<std::string>{tree() + "/alpha.txt"});
    const int times = shown.times;
    settle(pane);
    EXPECT_EQ(shown.times, times) << "nothing has changed, and yet it searched again";

    ss_destroy(engine);
    pane.engine = nullptr;
    EXPECT_STREQ(ss_query_path(pane.shown, 0), (tree() + "/alpha.txt").c_str());
    search_closed(&pane);
    EXPECT_TRUE(shown.paths.empty());
}

TEST_F(Guide, a_rebuild_replaces_the_index_when_it_is_ready) {
    const std::string scope = tree();
    const std::string cache_file = cache();
    Engines engines = {nullptr, nullptr, scope.c_str(), cache_file.c_str()};
    ASSERT_TRUE(engines_open(&engines));
    wait_for(engines.current);
    SystemSearchEngine* first = engines.current;

    add("gamma.txt");
    ASSERT_TRUE(engines_rebuild(&engines));
    EXPECT_FALSE(engines_rebuild(&engines)) << "one is under way";
    while (!engines_tick(&engines)) {
        EXPECT_EQ(engines.current, first);
        Sleep(1);
    }
    EXPECT_NE(engines.current, first);
    EXPECT_EQ(engines.next, nullptr);
    EngineStatus build;
    ss_status(engines.current, &build);
    EXPECT_EQ(build.entries, 3u);
    engines_close(&engines);

    ASSERT_TRUE(engines_open(&engines));
    wait_for(engines.current);
    ss_status(engines.current, &build);
    EXPECT_EQ(build.from_cache, 1u);
    EXPECT_EQ(build.entries, 3u);
    engines_close(&engines);
}

TEST_F(Guide, a_rebuild_that_fails_leaves_the_index_in_use) {
    const std::string scope = tree();
    Engines engines = {nullptr, nullptr, scope.c_str(), ""};
    ASSERT_TRUE(engines_open(&engines));
    wait_for(engines.current);
    SystemSearchEngine* first = engines.current;
    fs::remove_all(folder_ / "tree");
    ASSERT_TRUE(engines_rebuild(&engines));
    wait_for(engines.next);
    EXPECT_EQ(engines_tick(&engines), 0);
    EXPECT_EQ(engines.current, first);
    EXPECT_EQ(engines.next, nullptr);
    engines_close(&engines);
}

// The names below the tree that a text finds as words in any order, in the order of their paths.
std::vector<std::string> words_found(SystemSearchEngine* engine, const std::string& text,
                                     std::size_t folder_size) {
    WordSearch search;
    EXPECT_EQ(words_search(&search, engine, text.c_str()), 1);
    while (!words_done(&search)) Sleep(1);
    std::vector<std::string> names;
    while (const char* path = words_next(&search)) names.emplace_back(path + folder_size + 1);
    EXPECT_EQ(words_next(&search), nullptr);
    words_close(&search);
    return names;
}

TEST_F(Guide, words_are_found_in_any_order_each_path_once) {
    using Names = std::vector<std::string>;
    for (const char* file : {"final march.txt", "March x Final.txt", "march.txt", "b Final March",
                             "march final march", "reportal", "one two three", "Two-Three-One"}) {
        add(file);
    }
    SystemSearchEngine* engine = ss_create();
    ASSERT_EQ(ss_start(engine, tree().c_str(), "", 0), 1);
    wait_for(engine);
    const auto found = [&](const std::string& text) {
        return words_found(engine, text, tree().size());
    };
    EXPECT_EQ(found("final march"), (Names{"b Final March", "final march.txt", "march final march",
                                           "March x Final.txt"}));
    EXPECT_EQ(found("  march   final "), found("final march"));
    EXPECT_EQ(found("march march"), Names{"march final march"});
    EXPECT_EQ(found("report portal"), Names{});
    EXPECT_EQ(found("three one two"), (Names{"one two three", "Two-Three-One"}));
    EXPECT_EQ(found("march"), (Names{"b Final March", "final march.txt", "march final march",
                                     "March x Final.txt", "march.txt"}));
    EXPECT_EQ(found("*final march.t?t"), Names{"final march.txt"});
    EXPECT_EQ(found("one two three four"), Names{});
    EXPECT_EQ(found("").size(), 10u);
    ss_destroy(engine);

    WordSearch failed;
    EXPECT_EQ(words_search(&failed, nullptr, "final march"), 0);
    EXPECT_EQ(failed.count, 0u);
}

TEST_F(Guide, the_cache_lies_in_the_users_local_folder) {
    char path[1024];
    ASSERT_TRUE(cache_path(path, sizeof path));
    EXPECT_TRUE(std::string(path).ends_with("\\Vendor\\Product\\names.index")) << path;
    EXPECT_NE(std::string(path).find("Local"), std::string::npos) << path;
    const int needed = static_cast<int>(std::string(path).size()) + 1;
    EXPECT_TRUE(cache_path(path, needed));
    EXPECT_FALSE(cache_path(path, needed - 1));
    EXPECT_FALSE(cache_path(path, 3));
}

TEST_F(Guide, outcomes_are_told_with_their_limits) {
    const auto sentence = [](QueryStatus outcome) {
        char text[128];
        describe_outcome(&outcome, text, sizeof text);
        return std::string(text);
    };
    EXPECT_EQ(sentence({SS_QUERY_DONE, 3, 3, 9, 0}), "3 found");
    EXPECT_EQ(sentence({SS_QUERY_DONE, 3, 3, 9, 1}), "3 found, in the 9 names read so far");
    EXPECT_EQ(sentence({SS_QUERY_DONE, 48213, 1000, 500000, 0}),
              "The first 1000 of 48213 found. Type more to narrow them down.");
}

TEST_F(Guide, builds_are_told_with_their_state) {
    char text[256];
    SystemSearchEngine* engine = ss_create();
    EXPECT_STREQ(describe_build(engine, text, sizeof text), "Nothing is indexed.");
    EXPECT_STREQ(describe_build(nullptr, text, sizeof text), "Library unavailable.");

    const auto build = [&](const std::string& scope, const std::string& cache_file) {
        EXPECT_EQ(ss_start(engine, scope.c_str(), cache_file.c_str(), 0), 1);
        wait_for(engine);
        return std::string(describe_build(engine, text, sizeof text));
    };
    EXPECT_EQ(build("relative", ""), "Choose an absolute folder path.");
    EXPECT_EQ(build(tree(), cache()), "2 names");
    EXPECT_EQ(build(tree(), cache()), "2 names as of the last time");
    EXPECT_EQ(build(tree(), utf8(folder_)), "2 names; they could not be kept for the next time");
    {
        const HeldBuild held;
        ASSERT_TRUE(held.applied());
        ss_start(engine, tree().c_str(), "", 0);
        ss_cancel(engine);
    }
    wait_for(engine);
    EXPECT_STREQ(describe_build(engine, text, sizeof text), "Stopped after 0 names");
    ss_destroy(engine);
}

}  // namespace

void show_rows(SearchPane* pane, uint32_t count, const char* sentence) {
    ++shown.times;
    shown.sentence = sentence;
    shown.paths.clear();
    for (uint32_t i = 0; i < count; ++i) shown.paths.emplace_back(ss_query_path(pane->shown, i));
}
