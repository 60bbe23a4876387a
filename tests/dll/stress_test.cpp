// The same stress as the native one, on the shipped DLL and a real folder. For as long as
// SS_STRESS_SECONDS says; `make soak` runs it for minutes.
#include "core/stress/host_stress.hpp"

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "dll/import_table.hpp"

namespace {

namespace fs = std::filesystem;

// Blocks that the DLL has taken and not given back. The memory of the process would tell less: how
// much the threads take at once depends on how they meet, which no limit knows.
std::atomic<std::int64_t> held_blocks{0};

void* counted_malloc(std::size_t bytes) {
    void* const block = std::malloc(bytes);
    held_blocks += block != nullptr;
    return block;
}
void* counted_calloc(std::size_t count, std::size_t bytes) {
    void* const block = std::calloc(count, bytes);
    held_blocks += block != nullptr;
    return block;
}
void* counted_realloc(void* old, std::size_t bytes) {
    void* const block = std::realloc(old, bytes);
    held_blocks += (block != nullptr) - (old != nullptr && (block != nullptr || bytes == 0));
    return block;
}
void counted_free(void* block) {
    held_blocks -= block != nullptr;
    std::free(block);
}

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

    HMODULE const library = GetModuleHandleW(L"system_search.dll");
    const ImportPatch malloc_patch(library, "malloc", &counted_malloc);
    const ImportPatch calloc_patch(library, "calloc", &counted_calloc);
    const ImportPatch realloc_patch(library, "realloc", &counted_realloc);
    const ImportPatch free_patch(library, "free", &counted_free);
    ASSERT_TRUE(malloc_patch.applied() && free_patch.applied());

    const std::uint32_t seed = static_cast<std::uint32_t>(GetTickCount());
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::int64_t most_blocks = 0;
    {
        host_stress::Stress stress({base + "/tree",
                                    {base + "/a", base + "/a", base + "/b", ""},
                                    /*saves_may_fail=*/true});
        stress.run(6, seed, [&] { most_blocks = std::max(most_blocks, held_blocks.load()); });
        EXPECT_GT(stress.finished_builds(), 0u);
        EXPECT_GT(stress.finished_queries(), 0u);
        std::printf("%llu builds, %llu of them loaded, %llu queries; at most %lld blocks\n",
                    static_cast<unsigned long long>(stress.finished_builds()),
                    static_cast<unsigned long long>(stress.loaded_builds()),
                    static_cast<unsigned long long>(stress.finished_queries()),
                    static_cast<long long>(most_blocks));
    }
    EXPECT_GT(most_blocks, 0) << "nothing was counted";
    // Six queries of a thousand results and four builds need no more than half of these.
    EXPECT_LT(most_blocks, 20'000) << "blocks pile up";
    EXPECT_EQ(held_blocks, 0) << "not given back";
    fs::remove_all(root);
}

}  // namespace
