// A folder that is not entered, for whatever reason, leaves the walk of those after it alone.
#include "rules/engine/engine_test_support.hpp"

namespace system_search {
namespace {

class WalkSiblingsTest : public EngineTest {
protected:
    void SetUp() override {
        EngineTest::SetUp();
        add_file(u"C:\\top\\left out\\unseen");
        add_file(u"C:\\top\\next\\seen");
        add_folder(u"C:\\top\\last");
    }
    void expect_one_skipped_and_its_siblings_whole(const char* why) {
        SCOPED_TRACE(why);
        EXPECT_EQ(build("C:\\top"), (EngineStatus{SS_ENGINE_READY, 4, 1, 0, 0}));
        EXPECT_EQ(listing(), (Listing{"C:/top/left out/", "C:/top/next/", "C:/top/next/seen",
                                      "C:/top/last/"}));
    }
};

TEST_F(WalkSiblingsTest, folders_behind_a_reparse_point_are_entered) {
    set_type(u"C:\\top\\left out", platform::kAttributeDirectory | platform::kAttributeReparsePoint,
             0x9000001A);
    expect_one_skipped_and_its_siblings_whole("reparse point");
}

TEST_F(WalkSiblingsTest, folders_behind_one_that_cannot_be_asked_or_opened_are_entered) {
    fail_node(u"C:\\top\\left out", &NodeFaults::attributes, platform::kAccessDenied);
    expect_one_skipped_and_its_siblings_whole("attributes");
    fail_node(u"C:\\top\\left out", &NodeFaults::open, platform::kAccessDenied);
    expect_one_skipped_and_its_siblings_whole("open");
}

}  // namespace
}  // namespace system_search
