// The name of an enumerated child as entries hold it: UTF-8, without a backslash.
#pragma once

#include <cstddef>
#include <string_view>

#include "common/text.hpp"
#include "platform/platform.hpp"

namespace system_search {

// Room for one name, kept from child to child.
class ChildName {
public:
    // False when the name is not valid UTF-16; view() then means nothing.
    [[nodiscard]] bool convert(std::u16string_view name) noexcept {
        bytes_ = encode_utf8(name, text_);
        if (bytes_ == kInvalidText) return false;
        // A file system may hand out a name with a backslash in it; stored, it is a separator.
        replace_backslashes(text_, bytes_);
        return true;
    }
    std::string_view view() const { return {text_, bytes_}; }

private:
    std::size_t bytes_ = 0;
    char text_[3 * sizeof(platform::Child::name) / sizeof(char16_t)];
};

}  // namespace system_search
