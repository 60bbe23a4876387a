// Junctions and symbolic links as the system itself makes them; Wine has neither.
#include "dll/engine_host.hpp"
#include "dll/host_query.hpp"
#include "dll/machine.hpp"

namespace {

class Links : public EngineHost {
protected:
    void SetUp() override {
        ONLY_ON_WINDOWS("it makes no junctions and no symbolic links");
        EngineHost::SetUp();
        make_file("tree/f");
        make_file("target/inside");
    }
    // First of all the links: whoever removes the tree may follow one that leads in a circle.
    void TearDown() override {
        for (const std::string& link : links_) {
            if (!RemoveDirectoryA(link.c_str())) DeleteFileA(link.c_str());
        }
        EngineHost::TearDown();
    }

    // With the system's own separators only, which mklink wants.
    std::string native(const std::string& name) const {
        return std::filesystem::path(path(name)).make_preferred().string();
    }
    bool make_junction(const std::string& name, const std::string& target) {
        links_.push_back(native(name));
        const std::string command =
            "mklink /J \"" + links_.back() + "\" \"" + native(target) + "\" >nul";
        const int result = std::system(command.c_str());
        EXPECT_EQ(result, 0) << command;
        const DWORD attributes = GetFileAttributesA(links_.back().c_str());
        EXPECT_NE(attributes, INVALID_FILE_ATTRIBUTES) << command;
        return attributes != INVALID_FILE_ATTRIBUTES &&
               (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
    }
    // False when this user may not make any.
    bool make_link(const std::string& name, const std::string& target, DWORD flags) {
        links_.push_back(native(name));
        constexpr DWORD kWithoutPrivilege = 2;  // honoured in developer mode
        const std::string to = native(target);
        if (CreateSymbolicLinkA(links_.back().c_str(), to.c_str(), flags | kWithoutPrivilege)) {
            return true;
        }
        EXPECT_EQ(GetLastError(), DWORD{ERROR_PRIVILEGE_NOT_HELD});
        return false;
    }

    std::vector<std::string> links_;
};

constexpr EngineStatus ready(std::uint32_t entries) {
    return {SS_ENGINE_READY, entries, 0, 0, 0};
}

TEST_F(Links, a_junction_is_a_file_that_nobody_looks_into) {
    ASSERT_TRUE(make_junction("tree/beside", "target"));
    ASSERT_TRUE(make_junction("tree/circle", "tree"));
    EXPECT_EQ(build(path("tree")), ready(3));
    EXPECT_EQ(indexed(),
              expected("tree",
                       {{"beside", SS_KIND_FILE}, {"circle", SS_KIND_FILE}, {"f", SS_KIND_FILE}}));
    const HostQuery found(ss_query(engine_, "circle", 0, SS_KIND_ANY, 10));
    ASSERT_EQ(found.status().count, 1u);
    EXPECT_EQ(found.metadata(0).flags & SS_METADATA_SIZE, 0u) << "a link has no size";
}

TEST_F(Links, a_junction_whose_target_is_gone_is_a_file_too) {
    ASSERT_TRUE(make_junction("tree/beside", "target"));
    std::filesystem::remove_all(scratch_ / "target");
    EXPECT_EQ(build(path("tree")), ready(2));
    EXPECT_EQ(indexed(), expected("tree", {{"beside", SS_KIND_FILE}, {"f", SS_KIND_FILE}}));
}

TEST_F(Links, a_chosen_junction_is_walked_under_its_own_name) {
    ASSERT_TRUE(make_junction("tree/beside", "target"));
    EXPECT_EQ(build(path("tree/beside")), ready(1));
    EXPECT_EQ(indexed(), expected("tree/beside", {{"inside", SS_KIND_FILE}}));
}

TEST_F(Links, a_listing_leaves_junctions_out_but_counts_them) {
    ASSERT_TRUE(make_junction("tree/beside", "target"));
    const HostQuery all(ss_query_directory(path("tree").c_str(), "", 0, SS_KIND_ANY, 10));
    EXPECT_EQ(all.names(), std::vector<std::string>{"f"});
    EXPECT_EQ(all.status().index_entries, 2u);
    EXPECT_EQ(all.status().index_incomplete, 0u);
}

TEST_F(Links, symbolic_links_are_files_that_nobody_follows) {
    if (!make_link("tree/folder", "target", SYMBOLIC_LINK_FLAG_DIRECTORY)) {
        GTEST_SKIP()
            << "this user may not make symbolic links; developer mode or an administrator's "
               "prompt allows it";
    }
    ASSERT_TRUE(make_link("tree/file", "target/inside", 0));
    ASSERT_TRUE(make_link("tree/circle", "tree", SYMBOLIC_LINK_FLAG_DIRECTORY));
    ASSERT_TRUE(make_link("tree/nowhere", "missing", SYMBOLIC_LINK_FLAG_DIRECTORY));
    EXPECT_EQ(build(path("tree")), ready(5));
    for (const auto& [name, kind] : indexed()) EXPECT_EQ(kind, SS_KIND_FILE) << name;
    const HostQuery all(ss_query_directory(path("tree").c_str(), "", 0, SS_KIND_ANY, 10));
    EXPECT_EQ(all.names(), std::vector<std::string>{"f"});
    EXPECT_EQ(all.status().index_entries, 5u);

    EXPECT_EQ(build(path("tree/folder")), ready(1));
    EXPECT_EQ(build(path("tree/file")).state, SS_ENGINE_FAILED);
    EXPECT_EQ(build(path("tree/nowhere")).state, SS_ENGINE_FAILED);
    EXPECT_EQ(error(), "The selected folder is unavailable.");
}

}  // namespace
