/* A thread that does in order what would keep the window waiting. */
#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

namespace window {

class Worker {
public:
    Worker();
    /* Does what is left, however long it takes. */
    ~Worker();
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    void post(std::function<void()> task);

    /* Destroys `object` on the thread. */
    template <typename Object>
    void discard(Object object) {
        post([kept = std::make_shared<Object>(std::move(object))]() mutable { kept.reset(); });
    }

    /* Waits until all is done, but no longer than this. False: something is still going on. */
    bool finish(std::chrono::milliseconds patience);

private:
    void run();

    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<std::function<void()>> tasks_;  // guarded by mutex_, as are the next two
    bool busy_ = false;
    bool ending_ = false;
    std::thread thread_;
};

}  // namespace window
