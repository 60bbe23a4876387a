// A tree that changes while it is walked, listed and queried: files and folders are created,
// renamed and removed as fast as one thread can, for SS_STRESS_SECONDS. What a walk sees of that is
// anybody's guess, but nothing crashes, what stood still all the time is always found, and a walk
// counts what it lost instead of failing.
#include <atomic>
#include <chrono>
#include <random>
#include <thread>

#include "core/faults/small_machine.hpp"
#include "core/stress/host_stress.hpp"

namespace system_search::simulated {
namespace {

class ChangingTree : public VolumeTest {};

std::u16string numbered(std::u16string_view stem, std::uint32_t number) {
    std::u16string name(stem);
    for (const char digit : std::to_string(number)) name += static_cast<char16_t>(digit);
    return name;
}

class Changer {
public:
    explicit Changer(std::uint32_t seed) : thread_([this, seed] { change(seed); }) {}
    ~Changer() {
        stop_ = true;
        thread_.join();
    }

private:
    void change(std::uint32_t seed) {
        std::mt19937 random(seed);
        const auto node = [&] {
            return numbered(u"C:\\tree\\moving", static_cast<std::uint32_t>(random() % 10)) +
                   numbered(u"\\n", static_cast<std::uint32_t>(random() % 20));
        };
        while (!stop_) {
            const std::u16string one = node();
            const std::u16string other = node();
            switch (random() % 5) {
                case 0:
                    if (!exists(one)) add_file(one, 1);
                    break;
                case 1:
                    if (!exists(one)) add_folder(one + u"\\a\\b\\c");
                    break;
                case 2:
                    if (exists(one) && !exists(other)) rename(one, other);
                    break;
                default:
                    remove_tree(one);
            }
        }
    }

    std::atomic<bool> stop_{false};
    std::thread thread_;
};

TEST_F(ChangingTree, walks_listings_and_queries_survive_it_and_find_what_stands_still) {
    constexpr std::uint32_t kStill = 200;
    constexpr std::uint32_t kLeastWalks = 10;  // on a machine however slow
    for (std::uint32_t i = 0; i < kStill; ++i) {
        add_file(numbered(u"C:\\tree\\still", i % 10) + numbered(u"\\still file ", i), 1);
    }
    for (std::uint32_t i = 0; i < 10; ++i) add_folder(numbered(u"C:\\tree\\moving", i));
    const std::uint32_t seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));

    SystemSearchEngine* const engine = ss_create();
    const auto end =
        std::chrono::steady_clock::now() + std::chrono::seconds(host_stress::seconds());
    std::uint32_t walks = 0;
    {
        const Changer changer(seed);
        while ((walks < kLeastWalks || std::chrono::steady_clock::now() < end) && !HasFailure()) {
            ASSERT_EQ(ss_start(engine, "C:/tree", "", 1), 1);
            SystemSearchQuery* const during = ss_query(engine, "n", 0, SS_KIND_ANY, 1000);
            const EngineStatus status = wait(engine);
            ++walks;
            ASSERT_EQ(status.state, SS_ENGINE_READY) << ss_error(engine);

            SystemSearchQuery* const query = ss_query(engine, "still file ", 0, SS_KIND_FILE, 1000);
            const QueryStatus found = wait(query);
            EXPECT_EQ(found.matched, kStill);
            EXPECT_EQ(found.index_entries, status.entries);
            EXPECT_EQ(found.index_incomplete, 0u);
            ss_query_destroy(query);
            // Its results may be gone from the disk by now; they are still results.
            const QueryStatus early = wait(during);
            EXPECT_EQ(early.state, SS_QUERY_DONE);
            EXPECT_LE(early.matched, early.index_entries);
            ss_query_destroy(during);

            SystemSearchQuery* const listing =
                ss_query_directory("C:/tree/moving1", "", 0, SS_KIND_ANY, 1000);
            const QueryStatus listed = wait(listing);
            EXPECT_EQ(listed.state, SS_QUERY_DONE);
            EXPECT_LE(listed.matched, listed.index_entries);
            ss_query_destroy(listing);
        }
    }
    ss_destroy(engine);
}

}  // namespace
}  // namespace system_search::simulated
