// What only the rule's own routine shows: a match that takes long can be cancelled.
#include "query/wildcard.hpp"

#include <gtest/gtest.h>

#include <string>

namespace system_search {
namespace {

// A text behind which eight bytes can be read.
class PaddedText {
public:
    explicit PaddedText(const std::string& text) : bytes_(text + std::string(8, '\0')) {}
    std::string_view view() const { return std::string_view(bytes_).substr(0, bytes_.size() - 8); }

private:
    std::string bytes_;
};

// Each star of such a pattern tries every place again: the steps are the product of both lengths.
const std::string kSlowPattern = "*?" + std::string(2000, 'a') + "b";
const PaddedText kSlowSubject(std::string(10'000, 'a') + "b");

TEST(Wildcard, long_match_that_is_not_cancelled_is_found) {
    const std::atomic<bool> cancel{false};
    EXPECT_TRUE(Wildcard(kSlowPattern, cancel).matches(kSlowSubject.view()));
}

TEST(Wildcard, cancel_request_ends_a_long_match_as_no_match) {
    const std::atomic<bool> cancel{true};
    EXPECT_FALSE(Wildcard(kSlowPattern, cancel).matches(kSlowSubject.view()));
}

}  // namespace
}  // namespace system_search
