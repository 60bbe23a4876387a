// Creating the cache file's folder when the system gives no clear answer about it.
#include <atomic>

#include "index/cache_writer.hpp"
#include "simulated/volume_test_fixture.hpp"

namespace system_search {
namespace {

using CacheFolderTest = simulated::VolumeTest;

TEST_F(CacheFolderTest, no_folder_is_created_where_it_cannot_be_told_what_is_missing) {
    simulated::add_folder(u"C:\\");
    const Index index;
    const std::atomic<bool> cancel{false};
    for (const platform::Error error : {platform::kAccessDenied, platform::kCannotAccessFile}) {
        simulated::fail_platform_call(1, error, simulated::kStatus);
        TemporaryFile temporary(u"C:\\cache\\index", /*owner=*/1);
        EXPECT_EQ(write_index_cache(temporary, {index, ""}, cancel),
                  CacheWriteResult::kFolderFailed);
        EXPECT_EQ(simulated::platform_calls(simulated::kCreateFolder), 0u);
        EXPECT_FALSE(simulated::exists(u"C:\\cache"));
        simulated::forget_call_plans();
    }
}

}  // namespace
}  // namespace system_search
