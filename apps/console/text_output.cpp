#include "text_output.hpp"

#include <windows.h>

#include <algorithm>

#include "common/wide_text.hpp"

namespace console {
namespace {

constexpr std::size_t kFlushBytes = std::size_t{64} * 1024;
// Older consoles refuse a write of more than about 64 KiB.
constexpr std::size_t kConsoleUnits = std::size_t{8} * 1024;

}  // namespace

TextOutput::TextOutput(Stream stream)
    : handle_(GetStdHandle(stream == kStandardOutput ? STD_OUTPUT_HANDLE : STD_ERROR_HANDLE)) {
    DWORD mode;
    is_terminal_ = GetConsoleMode(handle_, &mode) != 0;
}

std::size_t TextOutput::columns() const {
    CONSOLE_SCREEN_BUFFER_INFO info;
    if (!is_terminal_ || !GetConsoleScreenBufferInfo(handle_, &info)) return 0;
    const int width = info.srWindow.Right - info.srWindow.Left + 1;
    return width > 0 ? static_cast<std::size_t>(width) : 0;
}

void TextOutput::write(std::string_view text) {
    if (failed_) return;
    pending_ += text;
    if (pending_.size() >= kFlushBytes) flush();
}

void TextOutput::flush() {
    if (!failed_ && !pending_.empty() && !(is_terminal_ ? write_console() : write_bytes())) {
        const DWORD error = GetLastError();
        failed_ = true;
        reader_left_ = error == ERROR_BROKEN_PIPE || error == ERROR_NO_DATA ||
                       error == ERROR_PIPE_NOT_CONNECTED;
    }
    pending_.clear();
}

bool TextOutput::write_console() {
    const std::wstring wide = app::to_wide(pending_);
    for (std::wstring_view rest = wide; !rest.empty();) {
        std::size_t units = std::min(rest.size(), kConsoleUnits);
        if (units < rest.size() && IS_HIGH_SURROGATE(rest[units - 1])) --units;
        DWORD written = 0;
        if (!WriteConsoleW(handle_, rest.data(), static_cast<DWORD>(units), &written, nullptr) ||
            written == 0) {
            return false;
        }
        rest.remove_prefix(written);
    }
    return true;
}

bool TextOutput::write_bytes() {
    for (std::string_view rest = pending_; !rest.empty();) {
        DWORD written = 0;
        if (!WriteFile(handle_, rest.data(), static_cast<DWORD>(rest.size()), &written, nullptr)) {
            return false;
        }
        rest.remove_prefix(written);
    }
    return true;
}

}  // namespace console
