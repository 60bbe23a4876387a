// A path as a call of the system gets it: as it stands, or in the literal form.
#pragma once

#include <memory>
#include <string_view>

namespace system_search::platform {

class SystemPath {
public:
    // What the system itself has named, below a folder: every component means what is written.
    // Plain unless the system would refuse it or read it otherwise. Throws std::bad_alloc.
    static SystemPath found(const char16_t* path);
    // What the host has named: the system reads it as it does for every program. Plain unless it
    // would be refused for its length. False when there was no memory for another spelling.
    static SystemPath given(const char16_t* path) noexcept;

    explicit operator bool() const { return text_ != nullptr; }
    // Lives as long as this and the path that was given.
    const wchar_t* c_str() const { return reinterpret_cast<const wchar_t*>(text_); }

private:
    explicit SystemPath(const char16_t* path) noexcept : text_(path) {}
    explicit SystemPath(std::unique_ptr<char16_t[]> spelled) noexcept
        : own_(std::move(spelled)), text_(own_.get()) {}
    static SystemPath literal(std::u16string_view path) noexcept;

    std::unique_ptr<char16_t[]> own_;  // null when the path goes as it stands
    const char16_t* text_;
};

}  // namespace system_search::platform
