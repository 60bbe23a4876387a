#include "model/worker.hpp"

#include <gtest/gtest.h>

#include <future>
#include <vector>

namespace window {
namespace {

constexpr std::chrono::minutes kLong{2};

TEST(Worker, it_does_all_in_order_before_it_ends) {
    std::vector<int> done;
    {
        Worker worker;
        for (int i = 0; i < 100; ++i) worker.post([&done, i] { done.push_back(i); });
    }
    ASSERT_EQ(done.size(), 100u);
    for (int i = 0; i < 100; ++i) EXPECT_EQ(done[static_cast<std::size_t>(i)], i);
}

TEST(Worker, an_object_is_destroyed_on_the_thread) {
    struct Witness {
        std::promise<std::thread::id>* destroyed_by = nullptr;
        explicit Witness(std::promise<std::thread::id>* promise) : destroyed_by(promise) {}
        Witness(Witness&& other) noexcept : destroyed_by(other.destroyed_by) {
            other.destroyed_by = nullptr;
        }
        Witness& operator=(Witness&&) = delete;
        ~Witness() {
            if (destroyed_by) destroyed_by->set_value(std::this_thread::get_id());
        }
    };
    std::promise<std::thread::id> promise;
    Worker worker;
    worker.discard(Witness(&promise));
    EXPECT_NE(promise.get_future().get(), std::this_thread::get_id());
}

TEST(Worker, finishing_waits_for_what_runs_and_gives_up_in_time) {
    std::promise<void> go;
    Worker worker;
    EXPECT_TRUE(worker.finish(kLong));
    worker.post([wait = go.get_future().share()] { wait.wait(); });
    EXPECT_FALSE(worker.finish(std::chrono::milliseconds(1)));
    go.set_value();
    EXPECT_TRUE(worker.finish(kLong));
}

}  // namespace
}  // namespace window
