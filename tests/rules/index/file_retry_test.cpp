// Waiting for whoever has a file open, in simulated time.
#include "index/file_retry.hpp"

#include "simulated/faults.hpp"
#include "simulated/volume_test_fixture.hpp"

namespace system_search {
namespace {

using simulated::kRemoveFile;
using simulated::kReplaceFile;
using simulated::kSleep;

constexpr std::uint64_t kFromNowOn = UINT64_MAX / 2;
constexpr platform::Error kPassing[] = {platform::kAccessDenied, platform::kSharingViolation,
                                        platform::kLockViolation};

class FileRetry : public simulated::VolumeTest {
protected:
    void SetUp() override {
        VolumeTest::SetUp();
        simulated::write_file(u"C:\\new", "new");
        simulated::write_file(u"C:\\old", "old");
        simulated::freeze_clock(0);
    }
    platform::Error replace() { return replace_with_retries(u"C:\\new", u"C:\\old", cancel); }
    static void remove() { remove_with_retries(u"C:\\old"); }

    std::atomic<bool> cancel{false};
};

TEST_F(FileRetry, nothing_is_waited_for_when_all_is_well) {
    EXPECT_EQ(replace(), platform::kSuccess);
    remove();
    EXPECT_EQ(simulated::slept_milliseconds(), 0u);
    EXPECT_FALSE(simulated::exists(u"C:\\old"));
}

TEST_F(FileRetry, an_error_that_passes_is_waited_out) {
    for (const platform::Error error : kPassing) {
        simulated::write_file(u"C:\\new", "new");
        simulated::write_file(u"C:\\old", "old");
        simulated::fail_platform_call(1, error, kReplaceFile, 3);
        EXPECT_EQ(replace(), platform::kSuccess);
        simulated::forget_call_plans();
        EXPECT_EQ(simulated::read_file(u"C:\\old"), "new");
        simulated::fail_platform_call(1, error, kRemoveFile, 3);
        remove();
        simulated::forget_call_plans();
        EXPECT_FALSE(simulated::exists(u"C:\\old"));
    }
    EXPECT_EQ(simulated::slept_milliseconds(), 3 * 2 * (1 + 2 + 4));
}

TEST_F(FileRetry, pauses_grow_and_end_after_about_a_second) {
    for (const platform::Error error : kPassing) {
        simulated::freeze_clock(0);
        std::vector<std::int64_t> attempts;
        const auto note = [&] {
            attempts.push_back(platform::monotonic_nanoseconds() / 1'000'000);
        };
        for (std::uint64_t nth = 1; nth <= 20; ++nth) {
            simulated::on_platform_call(nth, kReplaceFile, note);
        }
        simulated::fail_platform_call(1, error, kReplaceFile, kFromNowOn);
        EXPECT_EQ(replace(), error);
        EXPECT_EQ(attempts,
                  (std::vector<std::int64_t>{0, 1, 3, 7, 15, 31, 63, 127, 255, 511, 1023}));
        simulated::forget_call_plans();
    }
    EXPECT_EQ(simulated::read_file(u"C:\\old"), "old");
}

TEST_F(FileRetry, other_errors_are_final) {
    for (const platform::Error error : {platform::kFileNotFound, platform::kPathNotFound,
                                        platform::kDiskFull, platform::Error{1117}}) {
        simulated::fail_platform_call(1, error, kReplaceFile | kRemoveFile, kFromNowOn);
        EXPECT_EQ(replace(), error);
        remove();
        EXPECT_EQ(simulated::platform_calls(kReplaceFile | kRemoveFile), 2u);
        simulated::forget_call_plans();
    }
    EXPECT_EQ(simulated::slept_milliseconds(), 0u);
}

TEST_F(FileRetry, cancel_ends_a_pause_within_twenty_milliseconds) {
    for (std::uint64_t sleep = 1; sleep < 50; ++sleep) {
        cancel = false;
        const std::uint64_t before = simulated::slept_milliseconds();
        std::uint64_t at_cancel = 0;
        std::uint64_t attempts = 0;
        simulated::fail_platform_call(1, platform::kSharingViolation, kReplaceFile, kFromNowOn);
        simulated::on_platform_call(sleep, kSleep, [&] {
            cancel = true;
            at_cancel = simulated::slept_milliseconds();
            attempts = simulated::platform_calls(kReplaceFile);
        });
        EXPECT_EQ(replace(), platform::kSharingViolation);
        EXPECT_LE(simulated::slept_milliseconds() - at_cancel, 20u);
        EXPECT_EQ(simulated::platform_calls(kReplaceFile), attempts) << "tried again";
        EXPECT_GT(simulated::slept_milliseconds(), before);
        simulated::forget_call_plans();
    }
}

// ---- The removal --------------------------------------------------------------------------------

TEST_F(FileRetry, removal_is_tried_for_two_seconds) {
    for (const platform::Error error : {platform::kAccessDenied, platform::kSharingViolation,
                                        platform::kLockViolation, platform::kOperationAborted}) {
        simulated::freeze_clock(0);
        std::vector<std::int64_t> attempts;
        const auto note = [&] {
            attempts.push_back(platform::monotonic_nanoseconds() / 1'000'000);
        };
        simulated::on_platform_call(1, kRemoveFile, note, kFromNowOn);
        simulated::fail_platform_call(1, error, kRemoveFile, kFromNowOn);
        remove();
        EXPECT_EQ(attempts, (std::vector<std::int64_t>{0, 1, 3, 7, 15, 31, 63, 127, 255, 511, 767,
                                                       1023, 1279, 1535, 1791, 2047}))
            << error;
        simulated::forget_call_plans();
    }
    EXPECT_TRUE(simulated::exists(u"C:\\old"));
    remove();
    EXPECT_FALSE(simulated::exists(u"C:\\old"));
}

TEST_F(FileRetry, time_that_ended_attempts_took_counts) {
    simulated::on_platform_call(1, kRemoveFile, [] { platform::sleep(500); }, kFromNowOn);
    simulated::fail_platform_call(1, platform::kOperationAborted, kRemoveFile, kFromNowOn);
    remove();
    EXPECT_EQ(simulated::platform_calls(kRemoveFile), 4u);
}

}  // namespace
}  // namespace system_search
