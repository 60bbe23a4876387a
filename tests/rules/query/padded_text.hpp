// Texts behind which as much can be read as behind those of a shard.
#pragma once

#include <string>
#include <string_view>

#include "index/shard.hpp"

namespace system_search {

class PaddedText {
public:
    // What lies behind is the text again, so that whoever looks there finds something.
    explicit PaddedText(const std::string& text) : bytes_(text), size_(text.size()) {
        while (bytes_.size() < size_ + kTextPadding) bytes_ += text.empty() ? "x" : text;
    }
    std::string_view view() const { return std::string_view(bytes_).substr(0, size_); }

private:
    std::string bytes_;
    std::size_t size_;
};

}  // namespace system_search
