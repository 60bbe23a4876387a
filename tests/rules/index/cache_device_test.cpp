// A cache below a device prefix: what the prefix names is the drive and not its root folder.
#include <atomic>

#include "index/cache_writer.hpp"
#include "simulated/volume_test_fixture.hpp"

namespace system_search {
namespace {

using CacheDeviceTest = simulated::VolumeTest;

TEST_F(CacheDeviceTest, device_prefix_leads_to_the_same_folders) {
    simulated::add_folder(u"C:\\");
    const Index index;
    const std::atomic<bool> cancel{false};
    for (const std::u16string prefix : {u"\\\\?\\C:", u"\\\\.\\C:", u"\\??\\C:"}) {
        for (const char16_t* const name : {u"\\index", u"\\new\\folder\\index"}) {
            TemporaryFile temporary(prefix + name, /*owner=*/1);
            EXPECT_EQ(write_index_cache(temporary, {index, ""}, cancel),
                      CacheWriteResult::kReplaced);
            const std::u16string plain = u"C:" + std::u16string(name);
            EXPECT_TRUE(simulated::exists(plain));
            simulated::remove_tree(plain);
        }
        simulated::remove_tree(u"C:\\new");
    }
}

}  // namespace
}  // namespace system_search
