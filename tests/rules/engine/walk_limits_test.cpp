// Where the walk ends because there is too much: too many entries, or too large an estimate of
// them.
#include <algorithm>
#include <memory>

#include "rules/engine/walk_test_support.hpp"

namespace system_search {
namespace {

// ---- Entries ------------------------------------------------------------------------------------

TEST_F(WalkTest, exactly_five_million_entries_are_not_too_many) {
    add_generated_folder(u"C:\\a", numbered_files(3'000'000));
    add_generated_folder(u"D:\\b", numbered_files(2'000'000));
    EXPECT_EQ(walk_roots({u"C:\\a", u"D:\\b", u"E:\\"}).entry_count, 5'000'000u);
    EXPECT_EQ(status().limited, 0u);
    EXPECT_EQ(status().skipped, 1u) << "the third root was tried";
}

TEST_F(WalkTest, entry_five_million_and_one_ends_the_whole_walk) {
    add_generated_folder(u"C:\\a", numbered_files(3'000'000));
    add_generated_folder(u"D:\\b", numbered_files(2'000'001));
    const Snapshot found = walk_roots({u"C:\\a", u"D:\\b", u"E:\\"});
    EXPECT_EQ(found.entry_count, 5'000'000u);
    EXPECT_EQ(status().limited, 1u);
    EXPECT_EQ(status().skipped, 0u) << "the third root was not tried";
    EXPECT_EQ(last_path(found), "D:/b/f01999999");
}

// ---- The estimate -------------------------------------------------------------------------------

// Files whose paths bring the estimate of a walk of "C:\" to an exact sum.
class FilesUpToEstimate : public GeneratedFolder {
public:
    FilesUpToEstimate(std::size_t folder_bytes, std::uint64_t estimate) {
        const std::uint64_t longest = memory_estimate(folder_bytes + 1 + kLongest);
        count_ = (estimate + longest - 1) / longest;
        to_shorten_ = (count_ * longest - estimate) / 2;
    }
    std::uint64_t count() const override { return count_; }
    void child(std::uint64_t index, platform::Child& out) const override {
        // The first ones are as short as can be, one takes the rest, all others are long.
        const std::uint64_t before = std::min(to_shorten_, index * (kLongest - 1));
        const std::uint64_t shorter = std::min(to_shorten_ - before, kLongest - 1);
        out.attributes = kAttributeArchive;
        set_name(out, std::u16string(kLongest - shorter, u'n'));
    }

private:
    static constexpr std::uint64_t kLongest = 255;
    std::uint64_t count_;
    std::uint64_t to_shorten_;
};

class WalkEstimateTest : public WalkTest {
protected:
    // Builds a tree of exactly this estimate; gives the number of its entries.
    std::uint64_t make_tree(std::uint64_t estimate) {
        const std::u16string folder = make_long_folder(32768 - 258);
        const std::u16string full = folder + u"\\f";
        const std::u16string other = folder + u"\\" + std::u16string(255, u'x');
        // Too long to be indexed, so that it must not count.
        add_folder(other + u"\\" + std::u16string(255, u'y'));

        std::uint64_t folders = 2;
        estimate -= memory_estimate(full.size()) + memory_estimate(other.size());
        for (std::size_t end = 2; end < folder.size(); ++folders) {
            end = std::min(folder.find(u'\\', end + 1), folder.size());
            estimate -= memory_estimate(end);
        }
        const auto files = std::make_shared<FilesUpToEstimate>(full.size(), estimate);
        add_generated_folder(full, files);
        return folders + files->count();
    }
};

TEST_F(WalkEstimateTest, estimate_of_exactly_one_gibibyte_is_not_too_much) {
    const std::uint64_t entries = make_tree(1'073'741'824);
    EXPECT_EQ(walk_roots({u"C:\\"}).entry_count, entries);
    EXPECT_EQ(status().limited, 0u);
    EXPECT_EQ(status().skipped, 1u);
}

TEST_F(WalkEstimateTest, estimate_beyond_one_gibibyte_ends_the_walk_without_that_entry) {
    const std::uint64_t entries = make_tree(1'073'741'826);
    EXPECT_EQ(walk_roots({u"C:\\", u"E:\\"}).entry_count, entries - 1);
    EXPECT_EQ(status().limited, 1u);
    EXPECT_EQ(status().skipped, 1u) << "the second root was not tried";
}

TEST_F(WalkEstimateTest, folder_beyond_the_limit_is_neither_indexed_nor_counted_as_skipped) {
    const std::uint64_t entries = make_tree(1'073'741'824);
    add_file(u"D:\\c\\f");
    NodeFaults denied;
    denied.open = platform::kAccessDenied;
    set_faults(u"D:\\c", denied);
    const Snapshot found = walk_roots({u"C:\\", u"D:\\", u"E:\\"});
    EXPECT_EQ(found.entry_count, entries);
    EXPECT_NE(last_path(found), "D:/c");
    EXPECT_EQ(status().limited, 1u);
    EXPECT_EQ(status().skipped, 1u) << "the third root was not tried";
}

// ---- The estimate of several roots --------------------------------------------------------------

constexpr std::uint32_t kFiles = 9'000;
constexpr std::size_t kNameUnits = 200;

// Files called "0000...0" to "0...08999".
class LongNames : public GeneratedFolder {
public:
    std::uint64_t count() const override { return kFiles; }
    void child(std::uint64_t index, platform::Child& out) const override {
        out.attributes = kAttributeArchive;
        out.name_units = kNameUnits;
        std::fill_n(out.name, kNameUnits, u'0');
        for (std::size_t at = kNameUnits; index > 0; index /= 10) {
            out.name[--at] = static_cast<char16_t>(u'0' + index % 10);
        }
    }
};

class WalkEstimateOfRootsTest : public EngineTest {
protected:
    // A drive whose entries are estimated at some 600 MB: a chain of folders, and files with long
    // paths in the deepest one. Gives the estimates of its entries, in the order of the walk.
    static std::vector<std::uint64_t> add_large_drive(std::u16string_view drive) {
        add_drive(std::u16string(drive) + u"\\", platform::kDriveFixed);
        std::vector<std::uint64_t> estimates;
        std::u16string path(drive);
        while (path.size() < 32'000) {
            path += u'\\' + std::u16string(kNameUnits, u'd');
            estimates.push_back(memory_estimate(path.size()));
        }
        add_generated_folder(path, std::make_shared<LongNames>());
        estimates.insert(estimates.end(), kFiles, memory_estimate(path.size() + 1 + kNameUnits));
        return estimates;
    }
};

TEST_F(WalkEstimateOfRootsTest, two_roots_below_the_limit_and_together_beyond_it_are_cut_short) {
    std::vector<std::uint64_t> estimates = add_large_drive(u"C:");
    const auto in_drive = static_cast<std::uint32_t>(estimates.size());
    const std::vector<std::uint64_t> second = add_large_drive(u"E:");
    estimates.insert(estimates.end(), second.begin(), second.end());
    std::uint64_t sum = 0;
    const auto beyond = std::find_if(estimates.begin(), estimates.end(), [&](std::uint64_t each) {
        return (sum += each) > kMaxMemoryEstimate;
    });
    const auto fit = static_cast<std::uint32_t>(beyond - estimates.begin());
    ASSERT_GT(fit, in_drive);
    ASSERT_LT(fit, estimates.size());

    EXPECT_EQ(build("C:\\"), (EngineStatus{SS_ENGINE_READY, in_drive, 0, 0, 0}));
    EXPECT_EQ(build("E:\\"), (EngineStatus{SS_ENGINE_READY, in_drive, 0, 0, 0}));
    EXPECT_EQ(build(""), (EngineStatus{SS_ENGINE_READY, fit, 0, 1, 0}));
}

}  // namespace
}  // namespace system_search
