#include "model/latencies.hpp"

#include <gtest/gtest.h>

namespace window {
namespace {

TEST(Latencies, they_are_summed_up_by_ranks) {
    Latencies latencies;
    EXPECT_EQ(latencies.summary(), "keys 0");
    latencies.add(7);
    EXPECT_EQ(latencies.summary(),
              "keys 1, median 7.0 ms, 95 of 100 within 7.0 ms, at most 7.0 ms");
    Latencies hundred;
    for (int i = 100; i > 0; --i) hundred.add(i);
    EXPECT_EQ(hundred.summary(),
              "keys 100, median 50.0 ms, 95 of 100 within 95.0 ms, at most 100.0 ms");
}

}  // namespace
}  // namespace window
