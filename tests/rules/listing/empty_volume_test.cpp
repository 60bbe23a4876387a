// The root of an empty volume lists as an empty folder.
#include <chrono>
#include <thread>

#include <gtest/gtest.h>

#include "simulated/faults.hpp"
#include "simulated/volume_test_fixture.hpp"
#include "system_search.h"

namespace system_search::simulated {
namespace {

QueryStatus list(const char* folder) {
    SystemSearchQuery* const query = ss_query_directory(folder, "", 0, SS_KIND_ANY, 1000);
    QueryStatus status{};
    for (ss_query_poll(query, &status); status.state == SS_QUERY_RUNNING;
         ss_query_poll(query, &status)) {
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
    ss_query_destroy(query);
    return status;
}

using EmptyVolumeListing = VolumeTest;

TEST_F(EmptyVolumeListing, of_a_drive_share_or_volume_is_done_with_nothing_in_it) {
    for (const char16_t* root : {u"C:\\", u"\\\\server\\share", u"\\\\?\\Volume{0-1}\\"})
        add_folder(root);
    for (const char* folder :
         {"C:\\", "C:/", "//server/share", "\\\\?\\Volume{0-1}\\", "\\\\?\\C:\\"}) {
        const QueryStatus status = list(folder);
        EXPECT_EQ(status.state, SS_QUERY_DONE) << folder;
        EXPECT_EQ(status.matched + status.count + status.index_entries + status.index_incomplete,
                  0u);
    }
}

TEST_F(EmptyVolumeListing, of_a_folder_that_is_not_found_fails) {
    add_folder(u"C:\\gone");
    NodeFaults faults;
    faults.open = platform::kFileNotFound;
    set_faults(u"C:\\gone", faults);
    EXPECT_EQ(list("C:\\gone").state, SS_QUERY_FAILED);
    EXPECT_EQ(list("D:\\").state, SS_QUERY_FAILED) << "there is no such drive";
}

}  // namespace
}  // namespace system_search::simulated
