#include "model/worker.hpp"

#include <utility>

namespace window {

Worker::Worker() : thread_([this] { run(); }) {}

Worker::~Worker() {
    {
        const std::lock_guard lock(mutex_);
        ending_ = true;
    }
    changed_.notify_all();
    thread_.join();
}

void Worker::post(std::function<void()> task) {
    {
        const std::lock_guard lock(mutex_);
        tasks_.push_back(std::move(task));
    }
    changed_.notify_all();
}

bool Worker::finish(std::chrono::milliseconds patience) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, patience, [this] { return tasks_.empty() && !busy_; });
}

void Worker::run() {
    std::unique_lock lock(mutex_);
    for (;;) {
        changed_.wait(lock, [this] { return ending_ || !tasks_.empty(); });
        if (tasks_.empty()) return;
        std::function<void()> task = std::move(tasks_.front());
        tasks_.pop_front();
        busy_ = true;
        lock.unlock();
        task();
        task = nullptr;  // what it holds may take long to go, too
        lock.lock();
        busy_ = false;
        changed_.notify_all();
    }
}

}  // namespace window
