#include "line_input.hpp"

#include <windows.h>

#include <memory>

#include "common/wide_text.hpp"
#include "interrupt.hpp"
#include "model/utf8.hpp"

namespace console {
namespace {

constexpr wchar_t kControlZ = 0x1A;
// One byte that no UTF-8 text holds: stands for console input that is not Unicode.
constexpr char kMalformedByte = '\xFF';

/* One read of standard input, made on a thread of its own: not every kind of input lets a read be
   broken off, and Ctrl+C must not wait for it. An abandoned read ends with the process. */
struct Read {
    Read(HANDLE input, bool from_terminal) : handle(input), is_terminal(from_terminal) {}

    const HANDLE handle;
    const bool is_terminal;
    // The main thread looks only after the thread's end.
    std::string bytes;  // empty: the end
    bool was_interrupted = false;
};

/* Ctrl+C and Ctrl+Break end a read of the console without a single unit, often before their handler
   runs; Ctrl+Z is a unit like any other. */
std::string read_terminal(HANDLE handle, bool& was_interrupted) {
    wchar_t units[4096];
    DWORD count = 0;
    if (!ReadConsoleW(handle, units, ARRAYSIZE(units), &count, nullptr)) return {};
    was_interrupted = count == 0;
    if (count == 0 || units[0] == kControlZ) return {};
    return app::to_utf8({units, count}).value_or(std::string{kMalformedByte, '\n'});
}

std::string read_bytes(HANDLE handle) {
    std::string bytes(std::size_t{64} * 1024, '\0');
    DWORD count = 0;
    if (!ReadFile(handle, bytes.data(), static_cast<DWORD>(bytes.size()), &count, nullptr))
        return {};
    bytes.resize(count);
    return bytes;
}

DWORD WINAPI run_read(void* argument) {
    const std::unique_ptr<std::shared_ptr<Read>> share(
        static_cast<std::shared_ptr<Read>*>(argument));
    Read& read = **share;
    read.bytes = read.is_terminal ? read_terminal(read.handle, read.was_interrupted)
                                  : read_bytes(read.handle);
    return 0;
}

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
    if (ended_) return false;
    const auto read = std::make_shared<Read>(handle_, is_terminal_);
    auto* const its_share = new std::shared_ptr<Read>(read);
    const HANDLE thread = CreateThread(nullptr, 0, run_read, its_share, 0, nullptr);
    if (!thread) delete its_share;
    const bool is_read = thread && !wait_for_or_interrupt(thread);
    if (thread) CloseHandle(thread);
    if (is_read && read->was_interrupted) note_interrupt();
    ended_ = !is_read || read->bytes.empty() || is_interrupted();
    if (!ended_) buffer_ += read->bytes;
    return !ended_;
}

}  // namespace console
