// Many host threads that do everything the header allows, at random, on shared engines: poll,
// query, list, cancel, start, destroy. Every answer is checked against what any legal moment could
// give. Knows the public header only, so that the same program runs on the native core over a
// simulated volume and on the shipped DLL.
//
// A host serialises its own ss_start and ss_destroy of one engine, and uses no handle that it has
// destroyed: `handle` below is that lock. Everything else is called without any.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <random>
#include <shared_mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "system_search.h"

namespace host_stress {

// The tree that the stress runs on: kFolders folders "d0", "d1", ... of kFiles files "f0.txt", ...
inline constexpr std::uint32_t kFolders = 40;
inline constexpr std::uint32_t kFiles = 60;
inline constexpr std::uint32_t kEntries = kFolders * (kFiles + 1);

struct Tree {
    std::string scope;
    std::vector<std::string> caches;  // one for each engine; some may be equal
    // The system may refuse to replace a cache that another engine is reading.
    bool saves_may_fail = false;
};

// Seconds from the environment variable, so that the same test serves as a long soak.
inline int seconds() {
    const char* const wanted = std::getenv("SS_STRESS_SECONDS");
    return wanted != nullptr ? std::max(1, std::atoi(wanted)) : 3;
}

inline std::string fold(std::string_view text) {
    std::string folded(text);
    for (char& c : folded) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c | 0x20);
    }
    return folded;
}

// In the place of std::shared_mutex, which lets shared owners in beside an exclusive one where its
// runtime is the cross compiler's.
class SharedMutex {
public:
    void lock() {
        std::unique_lock guard(mutex_);
        ++waiting_;
        changed_.wait(guard, [this] { return owners_ == 0; });
        --waiting_;
        owners_ = kAlone;
    }
    void unlock() {
        const std::lock_guard guard(mutex_);
        owners_ = 0;
        changed_.notify_all();
    }
    void lock_shared() {
        std::unique_lock guard(mutex_);
        changed_.wait(guard, [this] { return owners_ != kAlone && waiting_ == 0; });
        ++owners_;
    }
    void unlock_shared() {
        const std::lock_guard guard(mutex_);
        if (--owners_ == 0) changed_.notify_all();
    }

private:
    static constexpr int kAlone = -1;

    std::mutex mutex_;
    std::condition_variable changed_;
    int owners_ = 0;   // how many share it, or kAlone
    int waiting_ = 0;  // who want it alone; nobody new shares it meanwhile
};

class Stress {
public:
    explicit Stress(Tree tree) : tree_(std::move(tree)) {
        for (const std::string& cache : tree_.caches) {
            engines_.push_back(std::make_unique<SharedEngine>(ss_create(), cache));
        }
    }
    ~Stress() {
        for (const auto& engine : engines_) ss_destroy(engine->handle);
    }

    // Runs `threads` threads for seconds(), and on a slow machine until everything that is counted
    // below has happened, calling `tick` about ten times a second meanwhile.
    template <class Tick>
    void run(std::uint32_t threads, std::uint32_t seed, Tick&& tick) {
        std::vector<std::thread> running;
        for (std::uint32_t i = 0; i < threads; ++i) {
            running.emplace_back([this, seed, i] { act(seed + i); });
        }
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(seconds());
        const auto give_up = end + std::chrono::minutes(2);
        for (auto now = end; !testing::Test::HasFailure() && now < give_up;) {
            now = std::chrono::steady_clock::now();
            if (now >= end && has_done_everything()) break;
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
            tick();
        }
        stop_ = true;
        for (std::thread& thread : running) thread.join();
    }

    bool has_done_everything() const {
        return finished_builds_ > 0 && finished_queries_ > 0 &&
               (loaded_builds_ > 0 || tree_.saves_may_fail);
    }
    std::uint64_t finished_builds() const { return finished_builds_; }
    std::uint64_t finished_queries() const { return finished_queries_; }
    std::uint64_t loaded_builds() const { return loaded_builds_; }

private:
    struct SharedEngine {
        SharedEngine(SystemSearchEngine* made, std::string its_cache)
            : handle(made), cache(std::move(its_cache)) {}
        SharedMutex lifetime;  // shared: use the handle; alone: start or destroy
        SystemSearchEngine* handle;
        const std::string cache;
    };

    void act(std::uint32_t seed) {
        std::mt19937 random(seed);
        while (!stop_ && !testing::Test::HasFailure()) {
            SharedEngine& engine = *engines_[random() % engines_.size()];
            switch (random() % 16) {
                case 0:
                    start(engine, random);
                    break;
                case 1:
                    recreate(engine, random);
                    break;
                case 2:
                    cancel(engine);
                    break;
                case 3:
                case 4:
                    list(random);
                    break;
                case 5:
                case 6:
                case 7:
                    check_status(engine);
                    break;
                case 8:
                    check_error(engine);
                    break;
                default:
                    search(engine, random);
            }
        }
    }

    void start(SharedEngine& engine, std::mt19937& random) {
        const std::unique_lock alone(engine.lifetime);
        EngineStatus before{};
        ss_status(engine.handle, &before);
        const bool bad_scope = random() % 8 == 0;
        const char* const scope = bad_scope ? "relative" : tree_.scope.c_str();
        const int started = ss_start(engine.handle, scope, engine.cache.c_str(), random() % 2);
        if (started == 0) {
            // Only a running build refuses a start; it may have ended since.
            EXPECT_EQ(before.state, SS_ENGINE_RUNNING);
            return;
        }
        if (random() % 3 != 0) return;  // the others leave it running
        const bool cancelled = random() % 3 == 0;
        if (cancelled) ss_cancel(engine.handle);

        EngineStatus seen{};
        std::uint32_t entries = 0;
        for (ss_status(engine.handle, &seen); seen.state == SS_ENGINE_RUNNING;
             ss_status(engine.handle, &seen)) {
            EXPECT_GE(seen.entries, entries) << "a running build lost entries";
            entries = seen.entries;
            std::this_thread::yield();
        }
        ++finished_builds_;
        // The lock is held alone, so that nobody else has cancelled.
        const std::uint32_t good = bad_scope ? SS_ENGINE_FAILED : SS_ENGINE_READY;
        EXPECT_TRUE(seen.state == good || (cancelled && seen.state == SS_ENGINE_CANCELLED))
            << seen.state;
        if (seen.state == SS_ENGINE_READY) {
            const std::string_view error = ss_error(engine.handle);
            EXPECT_TRUE(error.empty() || tells_of_allowed_failed_save(error)) << error;
            EXPECT_EQ(seen.entries, kEntries);
            EXPECT_EQ(seen.skipped, 0u);
            loaded_builds_ += seen.from_cache;
        }
        EngineStatus later{};
        ss_status(engine.handle, &later);
        EXPECT_EQ(later.state, seen.state) << "a final state changed";
        EXPECT_EQ(later.entries, seen.entries);
        if (seen.state == SS_ENGINE_FAILED) {
            EXPECT_STREQ(ss_error(engine.handle), "Choose an absolute folder path.");
        }
    }

    void recreate(SharedEngine& engine, std::mt19937& random) {
        if (random() % 4 != 0) return;
        const std::unique_lock alone(engine.lifetime);
        ss_destroy(engine.handle);
        engine.handle = ss_create();
        ASSERT_NE(engine.handle, nullptr);
        EngineStatus fresh{9, 9, 9, 9, 9};
        ss_status(engine.handle, &fresh);
        EXPECT_EQ(fresh.state, SS_ENGINE_IDLE);
        EXPECT_EQ(fresh.entries, 0u);
        EXPECT_STREQ(ss_error(engine.handle), "");
    }

    static void cancel(SharedEngine& engine) {
        const std::shared_lock use(engine.lifetime);
        ss_cancel(engine.handle);
    }

    static void check_status(SharedEngine& engine) {
        const std::shared_lock use(engine.lifetime);
        EngineStatus first{};
        EngineStatus second{};
        ss_status(engine.handle, &first);
        ss_status(engine.handle, &second);
        for (const EngineStatus& status : {first, second}) {
            EXPECT_LE(status.state, SS_ENGINE_FAILED);
            EXPECT_LE(status.entries, kEntries);
            EXPECT_EQ(status.skipped, 0u);
            EXPECT_EQ(status.limited, 0u);
            EXPECT_LE(status.from_cache, 1u);
        }
        // Nobody starts meanwhile: a state that is not "running" is final.
        if (first.state != SS_ENGINE_RUNNING) {
            EXPECT_EQ(first.state, second.state);
            EXPECT_EQ(first.entries, second.entries);
            EXPECT_EQ(first.from_cache, second.from_cache);
        } else {
            EXPECT_NE(second.state, SS_ENGINE_IDLE);
            EXPECT_GE(second.entries, first.entries);
        }
    }

    void check_error(SharedEngine& engine) {
        const std::shared_lock use(engine.lifetime);
        const std::string_view error = ss_error(engine.handle);
        EXPECT_TRUE(error.empty() || error == "Choose an absolute folder path." ||
                    tells_of_allowed_failed_save(error))
            << error;
    }

    bool tells_of_allowed_failed_save(std::string_view error) const {
        return tree_.saves_may_fail &&
               error == "Index is usable, but its cache could not be saved.";
    }

    struct Question {
        const char* text;
        std::uint32_t flags;
        std::uint32_t kind;
        std::uint32_t matches;  // in the whole tree
    };
    static const Question& any_question(std::mt19937& random) {
        static constexpr std::uint32_t kAllFiles = kFolders * kFiles;
        static const Question questions[] = {
            {"", 0, SS_KIND_ANY, kEntries},
            {"", 0, SS_KIND_FOLDER, kFolders},
            {"F1.TXT", 0, SS_KIND_ANY, kFolders},
            {"F1.TXT", SS_MATCH_CASE, SS_KIND_ANY, 0},
            {"*.txt", 0, SS_KIND_ANY, kAllFiles},
            {"f?.txt", SS_MATCH_CASE, SS_KIND_FILE, kFolders * 10},
            {"7/", SS_MATCH_PATH, SS_KIND_ANY, 4 * kFiles},
            {"*/d3/*", SS_MATCH_PATH, SS_KIND_ANY, kFiles},
            {"no such name", 0, SS_KIND_ANY, 0},
        };
        return questions[random() % std::size(questions)];
    }

    void search(SharedEngine& engine, std::mt19937& random) {
        const Question& question = any_question(random);
        const std::int32_t limit = random() % 2 == 0 ? 1000 : 1 + static_cast<int>(random() % 20);
        SystemSearchQuery* query = nullptr;
        {
            const std::shared_lock use(engine.lifetime);
            query = ss_query(engine.handle, question.text, question.flags, question.kind, limit);
        }
        // From here on the engine may be rebuilt or destroyed.
        ASSERT_NE(query, nullptr);
        if (random() % 4 == 0) return ss_query_destroy(query);

        const QueryStatus found = wait(query);
        EXPECT_EQ(found.state, SS_QUERY_DONE);
        EXPECT_LE(found.index_entries, kEntries);
        EXPECT_LE(found.matched, std::min(question.matches, found.index_entries));
        EXPECT_EQ(found.count, std::min(found.matched, static_cast<std::uint32_t>(limit)));
        if (found.index_incomplete == 0) {
            EXPECT_EQ(found.index_entries, kEntries);
            EXPECT_EQ(found.matched, question.matches) << question.text;
        }
        check_results(query, found, question);
        ss_query_destroy(query);
        ++finished_queries_;
    }

    void list(std::mt19937& random) {
        const std::string folder = tree_.scope + "/d" + std::to_string(random() % kFolders);
        SystemSearchQuery* const listing =
            ss_query_directory(folder.c_str(), "f?.txt", 0, SS_KIND_ANY, 1000);
        ASSERT_NE(listing, nullptr);
        if (random() % 4 == 0) return ss_query_destroy(listing);
        const QueryStatus found = wait(listing);
        EXPECT_EQ(found.state, SS_QUERY_DONE);
        EXPECT_EQ(found.index_entries, kFiles);
        EXPECT_EQ(found.index_incomplete, 0u);
        EXPECT_EQ(found.matched, 10u);
        check_results(listing, found, {"f?.txt", 0, SS_KIND_FILE, 10});
        ss_query_destroy(listing);
        ++finished_queries_;
    }

    static QueryStatus wait(SystemSearchQuery* query) {
        QueryStatus found{};
        for (ss_query_poll(query, &found); found.state == SS_QUERY_RUNNING;
             ss_query_poll(query, &found)) {
            EXPECT_EQ(found.count + found.matched + found.index_entries, 0u);
            std::this_thread::yield();
        }
        return found;
    }

    void check_results(SystemSearchQuery* query, const QueryStatus& found,
                       const Question& question) const {
        std::string previous;
        for (std::uint32_t i = 0; i < found.count; ++i) {
            const char* const path = ss_query_path(query, i);
            ASSERT_NE(path, nullptr);
            const std::string folded = fold(path);
            EXPECT_LT(previous, folded) << "out of order";
            previous = folded;
            EXPECT_TRUE(folded.starts_with(fold(tree_.scope))) << path;
            const std::uint32_t kind = ss_query_kind(query, i);
            EXPECT_EQ(kind, folded.ends_with(".txt") ? SS_KIND_FILE : SS_KIND_FOLDER) << path;
            if (question.kind != SS_KIND_ANY) {
                EXPECT_EQ(kind, question.kind);
            }
            ResultMetadata metadata{};
            EXPECT_EQ(ss_query_metadata(query, i, &metadata), 1);
            EXPECT_EQ(metadata.flags, kind == SS_KIND_FILE ? 3u : 2u) << path;
        }
        EXPECT_EQ(ss_query_path(query, found.count), nullptr);
    }

    const Tree tree_;
    std::vector<std::unique_ptr<SharedEngine>> engines_;
    std::atomic<bool> stop_{false};
    std::atomic<std::uint64_t> finished_builds_{0};
    std::atomic<std::uint64_t> finished_queries_{0};
    std::atomic<std::uint64_t> loaded_builds_{0};
};

}  // namespace host_stress
