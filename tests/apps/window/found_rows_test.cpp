#include "model/found_rows.hpp"

#include <string>

#include "session_test_support.hpp"

namespace window {
namespace {

using namespace system_search::simulated;  // NOLINT(google-build-using-namespace): the volume

class FoundRowsTest : public VolumeTest {
protected:
    void index(const std::vector<std::u16string>& names) {
        add_folder(u"C:\\disk");
        for (const std::u16string& name : names) add_file(u"C:\\disk\\" + name);
        engine_ = ss::Engine::create();
        ASSERT_TRUE(engine_.start("C:/disk"));
        ASSERT_TRUE(
            comes_true([this] { return engine_.progress().state == ss::EngineState::kReady; }));
    }
    void TearDown() override {
        engine_.reset();
        VolumeTest::TearDown();
    }

    FoundRows find(const Question& question, std::uint32_t limit = SS_MAX_RESULTS) {
        const Phrasing phrasing = phrase(question);
        std::vector<ss::Query> queries;
        for (const std::string& text : phrasing.questions) {
            queries.push_back(engine_.search(text, question.filter(limit)));
        }
        for (const ss::Query& query : queries) {
            EXPECT_TRUE(comes_true([&] { return query.state() == ss::QueryState::kDone; }));
        }
        return {std::move(queries), phrasing, limit};
    }
    static std::string names(const FoundRows& rows) {
        std::string text;
        for (std::size_t i = 0; i < rows.size(); ++i) {
            text += std::string(rows[i].path.substr(8)) + "|";
        }
        return text;
    }

    ss::Engine engine_;
};

TEST_F(FoundRowsTest, words_in_any_order_are_one_list_in_the_order_of_the_paths) {
    index({u"final march.txt", u"b march final", u"March Final March", u"a final", u"march"});
    const FoundRows rows = find({"final march"});
    EXPECT_EQ(names(rows), "b march final|final march.txt|March Final March|");
    EXPECT_EQ(rows.total(), (Total{3, Bound::kExact}));
    EXPECT_TRUE(rows.holds_all());
    EXPECT_EQ(rows[3].path, "");
}

TEST_F(FoundRowsTest, letters_beyond_a_to_z_are_found_in_both_cases) {
    index({u"\u00dcberstunden.xlsx", u"\u00fcberstunden alt", u"uberstunden"});
    EXPECT_EQ(find({"überstunden"}).total(), (Total{2, Bound::kExact}));
    EXPECT_EQ(names(find({"ÜBERSTUNDEN"})), "Überstunden.xlsx|überstunden alt|");
    EXPECT_EQ(names(find({"überstunden", ss::Kind::kAny, true})), "überstunden alt|");
}

TEST_F(FoundRowsTest, rows_are_held_to_all_of_four_words) {
    index({u"d c b a aaa bbb ccc", u"aaa bbb ccc", u"AAA BBB CCC D"});
    const FoundRows rows = find({"aaa bbb ccc d"});
    EXPECT_EQ(names(rows), "AAA BBB CCC D|d c b a aaa bbb ccc|");
    EXPECT_EQ(rows.total(), (Total{2, Bound::kExact}));
    EXPECT_EQ(names(find({"AAA BBB CCC D", ss::Kind::kAny, true})), "AAA BBB CCC D|");
}

TEST_F(FoundRowsTest, what_overflows_is_the_first_rows_of_all_and_a_bound) {
    index({u"1 a b", u"2 b a", u"3 a b", u"4 a b", u"5 b a"});
    const FoundRows few = find({"a b"}, 2);
    EXPECT_EQ(names(few), "1 a b|2 b a|");
    EXPECT_EQ(few.total(), (Total{4, Bound::kMoreThan}));
    EXPECT_FALSE(few.holds_all());
    const FoundRows enough = find({"a b"}, 3);
    EXPECT_EQ(names(enough), "1 a b|2 b a|3 a b|4 a b|5 b a|");
    EXPECT_EQ(enough.total(), (Total{5, Bound::kExact}));
    const FoundRows one = find({"a"}, 2);
    EXPECT_EQ(one.total(), (Total{5, Bound::kExact}));
    EXPECT_FALSE(one.holds_all());
}

TEST_F(FoundRowsTest, rows_held_to_more_words_than_were_asked_are_at_least_so_many) {
    index({u"aa bb cc 1", u"aa bb cc 2 d", u"aa bb cc 3"});
    const FoundRows rows = find({"aa bb cc d"}, 2);
    EXPECT_EQ(names(rows), "aa bb cc 2 d|");
    EXPECT_EQ(rows.total(), (Total{1, Bound::kAtLeast}));
    EXPECT_FALSE(rows.holds_all());
}

TEST_F(FoundRowsTest, queries_can_be_taken_out_to_be_destroyed) {
    index({u"a b"});
    FoundRows rows = find({"a b"});
    EXPECT_EQ(rows.take_queries().size(), 2u);
    EXPECT_EQ(rows.size(), 0u);
    EXPECT_EQ(rows[0].path, "");
}

TEST(ResultOrder, is_that_of_the_library) {
    const std::vector<std::string> sorted{"C:/_",   "C:/A", "C:/a",       "C:/a b",
                                          "C:/a/x", "C:/B", "C:/\xC3\x9C"};
    for (std::size_t i = 0; i < sorted.size(); ++i) {
        for (std::size_t j = 0; j < sorted.size(); ++j) {
            EXPECT_EQ(comes_before(sorted[i], sorted[j]), i < j) << sorted[i] << " " << sorted[j];
        }
    }
}

}  // namespace
}  // namespace window
