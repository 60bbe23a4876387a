#include "line_input.hpp"

#include <windows.h>

#include "interrupt.hpp"
#include "utf8.hpp"
#include "wide_text.hpp"

namespace console {
namespace {

constexpr wchar_t kControlZ = 0x1A;
// One byte that no UTF-8 text holds: stands for console input that is not Unicode.
constexpr char kMalformedByte = '\xFF';

}  // namespace

LineInput::LineInput() : handle_(GetStdHandle(STD_INPUT_HANDLE)) {
    DWORD mode;
    is_terminal_ = GetConsoleMode(handle_, &mode) != 0;
}

bool LineInput::is_key_waiting() const {
    INPUT_RECORD record;
    DWORD count = 0;
    while (PeekConsoleInputW(handle_, &record, 1, &count) && count != 0) {
        if (record.EventType == KEY_EVENT && record.Event.KeyEvent.bKeyDown) return true;
        // Key releases, mouse and focus events would hide the key behind them.
        ReadConsoleInputW(handle_, &record, 1, &count);
    }
    return false;
}

LineInput::Outcome LineInput::read_line(std::string& line) {
    if (!read_raw_line(line)) return kEnd;
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (at_start_ && line.starts_with("\xEF\xBB\xBF")) line.erase(0, 3);
    at_start_ = false;
    return is_valid_utf8(line) ? kLine : kMalformed;
}

bool LineInput::read_raw_line(std::string& line) {
    std::size_t searched = 0;
    for (;;) {
        const std::size_t end = buffer_.find('\n', searched);
        if (end != std::string::npos) {
            line = buffer_.substr(0, end);
            buffer_.erase(0, end + 1);
            return true;
        }
        searched = buffer_.size();
        if (!fill()) break;
    }
    line.swap(buffer_);
    buffer_.clear();
    return !line.empty() && !is_interrupted();
}

bool LineInput::fill() {
    const InterruptibleRead interruptible;
    if (ended_ || is_interrupted()) return false;
    if (is_terminal_) {
        wchar_t units[4096];
        DWORD count = 0;
        ended_ = !ReadConsoleW(handle_, units, ARRAYSIZE(units), &count, nullptr) || count == 0 ||
                 units[0] == kControlZ;
        // An aborted read returns before the handler has been told of the Ctrl+C that aborted it.
        if (count == 0) wait_or_interrupt(200);
        if (ended_) return false;
        buffer_ += to_utf8({units, count}).value_or(std::string{kMalformedByte, '\n'});
    } else {
        char bytes[4096];
        DWORD count = 0;
        ended_ = !ReadFile(handle_, bytes, sizeof bytes, &count, nullptr) || count == 0;
        buffer_.append(bytes, count);
    }
    return !ended_;
}

}  // namespace console
