// What a listing makes of children that are odd in one way: their names, and what they count.
#include "listing/listing.hpp"
#include "rules/query/query_test_support.hpp"

namespace system_search {
namespace {

using ListingRulesTest = VolumeTest;

// A folder of one file, called what no tree can hold.
class OneFile : public GeneratedFolder {
public:
    explicit OneFile(std::u16string_view name) : name_(name) {}
    std::uint64_t count() const override { return 1; }
    void child(std::uint64_t, platform::Child& out) const override {
        out.attributes = kAttributeArchive;
        set_name(out, name_);
    }

private:
    std::u16string name_;
};

TEST_F(ListingRulesTest, backslash_in_a_name_becomes_a_slash) {
    add_generated_folder(u"C:\\top", std::make_shared<OneFile>(u"back\\slash"));
    const RunningQuery query(ss_query_directory("C:/top", "slash", 0, 0, 10));
    EXPECT_EQ(query.finish(), (QueryStatus{SS_QUERY_DONE, 1, 1, 1, 0}));
    EXPECT_EQ(query.paths(), Paths{"C:/top/back/slash"});
}

TEST_F(ListingRulesTest, child_that_is_left_out_counts_nothing_against_the_estimate) {
    // Behind a folder of 32,760 bytes every one of these is too long, and would count 65,612:
    // 2^30 would be reached by number 16,366.
    std::u16string folder = u"C:";
    while (folder.size() + 201 <= 32'760) folder += u'\\' + std::u16string(200, u'd');
    folder += u'\\' + std::u16string(32'760 - folder.size() - 1, u'd');
    add_generated_folder(folder, numbered_files(17'000));
    const RunningQuery query(ss_query_directory(utf8_from_wide(folder).c_str(), "", 0, 0, 10));
    EXPECT_EQ(query.finish(), (QueryStatus{SS_QUERY_DONE, 0, 0, 17'000, 1}));
}

}  // namespace
}  // namespace system_search
