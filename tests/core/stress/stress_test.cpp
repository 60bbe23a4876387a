#include "core/stress/host_stress.hpp"

#include <random>

#include "simulated/volume_test_fixture.hpp"

namespace system_search::simulated {
namespace {

class StressTest : public VolumeTest {};

TEST_F(StressTest, random_calls_from_many_threads_get_legal_answers) {
    for (std::uint32_t folder = 0; folder < host_stress::kFolders; ++folder) {
        for (std::uint32_t file = 0; file < host_stress::kFiles; ++file) {
            const std::string path =
                "C:\\tree\\d" + std::to_string(folder) + "\\f" + std::to_string(file) + ".txt";
            add_file(std::u16string(path.begin(), path.end()), 1);
        }
    }
    const std::uint32_t seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    // Two engines share a cache file, one has none.
    host_stress::Stress stress({"C:/tree", {"C:/cache/a", "C:/cache/a", "C:/cache/b", ""}});
    stress.run(6, seed, [] {});
    EXPECT_GT(stress.finished_builds(), 0u);
    EXPECT_GT(stress.loaded_builds(), 0u);
    EXPECT_GT(stress.finished_queries(), 0u);
}

}  // namespace
}  // namespace system_search::simulated
