// A clean machine for each test, and nothing left open behind it.
#pragma once

#include <gtest/gtest.h>

#include "simulated/faults.hpp"
#include "simulated/volume.hpp"

namespace system_search::simulated {

inline void PrintTo(const OpenHandles& open, std::ostream* out) {
    *out << open.enumerations << " enumerations, " << open.files << " files, " << open.threads
         << " threads";
}

class VolumeTest : public testing::Test {
protected:
    void SetUp() override { reset(); }
    void TearDown() override {
        EXPECT_EQ(open_handles(), OpenHandles{}) << "something was left open";
        reset();
    }
};

}  // namespace system_search::simulated
