// The memory estimate is one for all roots of a walk.
#include <algorithm>
#include <memory>

#include "engine/engine_test_support.hpp"

namespace system_search {
namespace {

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

class EstimateOfRoots : public EngineTest {
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

TEST_F(EstimateOfRoots, two_roots_below_the_limit_and_together_beyond_it_are_cut_short) {
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
