// The same stress as the native one, on the shipped DLL and a real folder. For as long as
// SS_STRESS_SECONDS says; `make soak` runs it for minutes.
#include "stress/host_stress.hpp"

#include <filesystem>
#include <fstream>

#include "windows/process_resources.hpp"

namespace {

namespace fs = std::filesystem;

TEST(Stress, random_calls_from_many_threads_get_legal_answers_and_leave_nothing_behind) {
    const fs::path root = fs::current_path() / "stress";
    fs::remove_all(root);
    for (std::uint32_t folder = 0; folder < host_stress::kFolders; ++folder) {
        const fs::path path = root / "tree" / ("d" + std::to_string(folder));
        fs::create_directories(path);
        for (std::uint32_t file = 0; file < host_stress::kFiles; ++file) {
            std::ofstream(path / ("f" + std::to_string(file) + ".txt")) << "x";
        }
    }
    std::string base = root.string();
    std::replace(base.begin(), base.end(), '\\', '/');

    const std::uint32_t seed = static_cast<std::uint32_t>(GetTickCount());
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::size_t early_peak = 0;
    std::size_t late_peak = 0;
    DWORD const started = GetTickCount();
    const DWORD half = static_cast<DWORD>(host_stress::seconds()) * 500;
    {
        host_stress::Stress stress({base + "/tree",
                                    {base + "/a", base + "/a", base + "/b", ""},
                                    /*saves_may_fail=*/true});
        stress.run(6, seed, [&] {
            std::size_t& peak = GetTickCount() - started < half ? early_peak : late_peak;
            peak = std::max(peak, ProcessResources::now().memory_bytes);
        });
        EXPECT_GT(stress.finished_builds(), 0u);
        EXPECT_GT(stress.finished_queries(), 0u);
        std::printf("%llu builds, %llu of them loaded, %llu queries; peak memory %zu and %zu KB\n",
                    static_cast<unsigned long long>(stress.finished_builds()),
                    static_cast<unsigned long long>(stress.loaded_builds()),
                    static_cast<unsigned long long>(stress.finished_queries()), early_peak / 1024,
                    late_peak / 1024);
    }
    // What one moment needs varies by a few indexes and queries; a leak does not stop there.
    EXPECT_LT(late_peak, early_peak + 8'000'000) << "memory grew";
    fs::remove_all(root);
}

}  // namespace
