// Most shards of a broad search hold nothing that could become a result any more, and are passed
// over: nothing shows it but how often entries are compared. The linker leads the comparisons that
// src/query makes to the function below (cmake/native_tests.cmake).
#include <atomic>
#include <string>

#include "rules/query/query_test_support.hpp"

namespace {
std::atomic<std::uint64_t> comparisons{0};
}

extern "C" {
bool __real__ZN13system_search13orders_beforeENS_8EntryRefES0_(system_search::EntryRef a,
                                                               system_search::EntryRef b);
bool __wrap__ZN13system_search13orders_beforeENS_8EntryRefES0_(system_search::EntryRef a,
                                                               system_search::EntryRef b);

bool __wrap__ZN13system_search13orders_beforeENS_8EntryRefES0_(system_search::EntryRef a,
                                                               system_search::EntryRef b) {
    ++comparisons;
    return __real__ZN13system_search13orders_beforeENS_8EntryRefES0_(a, b);
}
}

namespace system_search {
namespace {

TEST(PassedOverShards, cost_a_comparison_or_two_whatever_they_hold) {
    constexpr std::uint64_t kShards = 50;
    Paths paths;
    for (std::uint64_t i = 0; i < kShards * kShardEntries; ++i) {
        paths.push_back("C:/file" + std::to_string(100'000 + i));
    }
    for (const char* const text : {"", "file", "C:/*1"}) {
        SCOPED_TRACE(text);
        const std::uint32_t flags = text[0] == 'C' ? SS_MATCH_PATH : 0;
        comparisons = 0;
        EXPECT_EQ(found(paths, text, flags, SS_KIND_ANY, 10).size(), 10u);
        // The first shard has all the results, and each of its matches is compared.
        EXPECT_GT(comparisons, 10u);
        EXPECT_LT(comparisons, kShardEntries + 200 + 3 * kShards);
    }
}

}  // namespace
}  // namespace system_search
