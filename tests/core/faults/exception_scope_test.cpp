// A call on a thread for which the system has no room to remember exceptions.
#include "simulated/volume_test_fixture.hpp"
#include "system_search.h"

namespace system_search::simulated {
namespace {

using ExceptionScopeTest = VolumeTest;

TEST_F(ExceptionScopeTest, call_without_an_exception_scope_is_refused_and_the_next_one_works) {
    fail_platform_call(1, platform::kNotEnoughMemory, kExceptionScope);
    EXPECT_EQ(ss_create(), nullptr);
    EXPECT_EQ(failed_platform_calls(), 1u);
    SystemSearchEngine* const engine = ss_create();
    ASSERT_NE(engine, nullptr);

    fail_platform_call(1, platform::kNotEnoughMemory, kExceptionScope);
    EXPECT_EQ(ss_query(engine, "", 0, SS_KIND_ANY, 1), nullptr);
    forget_call_plans();
    SystemSearchQuery* const query = ss_query(engine, "", 0, SS_KIND_ANY, 1);
    EXPECT_NE(query, nullptr);
    ss_query_destroy(query);
    ss_destroy(engine);
}

}  // namespace
}  // namespace system_search::simulated
