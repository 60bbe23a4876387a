// What the host asks for is what the query thread searches with, and what it found comes back
// whole.
#include "rules/query/query_test_support.hpp"

namespace system_search {
namespace {

class QueryArgumentsTest : public EngineTest {
protected:
    void SetUp() override {
        EngineTest::SetUp();
        add_file(u"C:\\top\\Docs\\docs.txt", 10);
        add_file(u"C:\\top\\Docs\\other", 20);
        add_file(u"C:\\top\\my Docs", 30);
        ASSERT_EQ(build("C:\\top").entries, 4u);
    }
    Paths found(const char* text, std::uint32_t flags, std::uint32_t kind = SS_KIND_ANY,
                std::int32_t limit = 1000) {
        const RunningQuery query(ss_query(handle_, text, flags, kind, limit));
        EXPECT_EQ(query.finish().state, SS_QUERY_DONE);
        return query.paths();
    }
};

TEST_F(QueryArgumentsTest, each_flag_reaches_the_search) {
    EXPECT_EQ(found("Docs", 0), (Paths{"C:/top/Docs", "C:/top/Docs/docs.txt", "C:/top/my Docs"}));
    EXPECT_EQ(found("Docs", SS_MATCH_CASE), (Paths{"C:/top/Docs", "C:/top/my Docs"}));
    EXPECT_EQ(found("top/docs", SS_MATCH_PATH),
              (Paths{"C:/top/Docs", "C:/top/Docs/docs.txt", "C:/top/Docs/other"}));
    EXPECT_EQ(found("top/docs", SS_MATCH_PATH | SS_MATCH_CASE), Paths{});
    EXPECT_EQ(found("top/docs", 0), Paths{});
}

TEST_F(QueryArgumentsTest, kind_and_limit_reach_the_search) {
    EXPECT_EQ(found("docs", 0, SS_KIND_FILE), (Paths{"C:/top/Docs/docs.txt", "C:/top/my Docs"}));
    EXPECT_EQ(found("docs", 0, SS_KIND_FOLDER), Paths{"C:/top/Docs"});
    EXPECT_EQ(found("docs", 0, SS_KIND_FILE, 1), Paths{"C:/top/Docs/docs.txt"});
}

TEST_F(QueryArgumentsTest, metadata_record_comes_back_whole) {
    constexpr std::uint64_t kSecond = 10'000'000;
    constexpr std::uint64_t k1970 = 11'644'473'600 * kSecond;
    set_last_write(u"C:\\top\\Docs", k1970 + 7 * kSecond);
    set_last_write(u"C:\\top\\my Docs", k1970 - 8 * kSecond);
    const RunningQuery query(ss_query(handle_, "*Docs", SS_MATCH_CASE, SS_KIND_ANY, 10));
    EXPECT_EQ(query.finish().count, 2u);
    EXPECT_EQ(query.metadata(0), (ResultMetadata{0, 7, SS_METADATA_MODIFIED, 0}));
    EXPECT_EQ(query.metadata(1),
              (ResultMetadata{30, -8, SS_METADATA_SIZE | SS_METADATA_MODIFIED, 0}));
}

}  // namespace
}  // namespace system_search
