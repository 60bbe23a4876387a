// Watches programs with a window for the tests. Reads one command a line from standard input, and
// answers each with "yes N" or "no N" and N lines of text. `until PATTERN COMMAND` repeats a
// command until its whole answer matches, and gives up after a limit that no working program
// reaches; no command waits for a time to pass. Started with --opened it is the program that opens
// documents.
//
//   start NAME COMMAND...   starts a program; the commands after it speak of it
//   use NAME                speak of another one again
//   forget                  end the program, whatever it does
//   state title status text count row rows selected focused top visible width checked choice
//   choices focus place place_of place_of_row place_of_column box handles clipboard
//   close dpi tell put choose opened windows drop_target hovered dropped x_window spoken arrow
//   maximize restore maximized hold_clipboard give_clipboard
//   lines_with TEXT FILE    how many lines of a file begin with a text
//   closing_time            closes the window; the milliseconds to the program's end
#include <windows.h>

#include <shellapi.h>
// After windows.h.
#include <fcntl.h>
#include <io.h>

#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <memory>
#include <regex>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "announcements.hpp"
#include "drop_target.hpp"
#include "process_objects.hpp"
#include "watched_program.hpp"

namespace {

constexpr DWORD kLimitMs = 60'000;
constexpr DWORD kLookMs = 10;  // between two looks at a state that is waited for

using Lines = std::vector<std::string>;

std::string narrow(std::wstring_view text) {
    const int units = static_cast<int>(text.size());
    const int bytes =
        WideCharToMultiByte(CP_UTF8, 0, text.data(), units, nullptr, 0, nullptr, nullptr);
    std::string result(static_cast<std::size_t>(bytes), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), units, result.data(), bytes, nullptr, nullptr);
    return result;
}

std::wstring widen(std::string_view text) {
    const int bytes = static_cast<int>(text.size());
    const int units = MultiByteToWideChar(CP_UTF8, 0, text.data(), bytes, nullptr, 0);
    std::wstring result(static_cast<std::size_t>(units), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, text.data(), bytes, result.data(), units);
    return result;
}

// One line of output must stay one.
std::string one_line(std::string text) {
    for (char& character : text) {
        if (character == '\n' || character == '\r') character = ' ';
    }
    return text;
}

BOOL CALLBACK describe(HWND window, LPARAM parameter) {
    if (!IsWindowVisible(window)) return TRUE;
    wchar_t window_class[64] = {};
    wchar_t title[256] = {};
    GetClassNameW(window, window_class, static_cast<int>(std::size(window_class)));
    // Not by a message: a window that does not answer shall not stop the probe.
    InternalGetWindowText(window, title, static_cast<int>(std::size(title)));
    reinterpret_cast<Lines*>(parameter)->push_back(
        one_line(narrow(window_class) + '\t' + narrow(title)));
    return TRUE;
}

// The windows of all programs that are on the screen.
Lines windows() {
    Lines lines;
    EnumWindows(describe, reinterpret_cast<LPARAM>(&lines));
    return lines;
}

Lines narrow_all(const std::vector<std::wstring>& texts) {
    Lines lines;
    for (const std::wstring& text : texts) lines.push_back(one_line(narrow(text)));
    return lines;
}

std::string as_text(const RECT& rectangle) {
    std::ostringstream text;
    text << rectangle.left << ' ' << rectangle.top << ' ' << rectangle.right - rectangle.left << ' '
         << rectangle.bottom - rectangle.top;
    return text.str();
}

Lines clipboard() {
    if (!OpenClipboard(nullptr)) throw std::runtime_error("the clipboard is in use");
    std::string text;
    HANDLE const data = GetClipboardData(CF_UNICODETEXT);
    if (data != nullptr) {
        text = narrow(static_cast<const wchar_t*>(GlobalLock(data)));
        GlobalUnlock(data);
    }
    CloseClipboard();
    if (data == nullptr) throw std::runtime_error("no text in the clipboard");
    Lines lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        lines.push_back(line);
    }
    return lines;
}

Lines clipboard_files() {
    if (!OpenClipboard(nullptr)) throw std::runtime_error("the clipboard is in use");
    Lines lines;
    HANDLE const data = GetClipboardData(CF_HDROP);
    auto* const list = static_cast<HDROP>(data);
    const UINT count = data != nullptr ? DragQueryFileW(list, 0xFFFFFFFF, nullptr, 0) : 0;
    for (UINT i = 0; i < count; ++i) {
        std::wstring path(DragQueryFileW(list, i, nullptr, 0) + 1, L'\0');
        DragQueryFileW(list, i, path.data(), static_cast<UINT>(path.size()));
        path.pop_back();
        lines.push_back(one_line(narrow(path)));
    }
    CloseClipboard();
    return data != nullptr ? lines : Lines{"no files in the clipboard"};
}

// What the program that opens documents has been given, one document a line.
Lines opened(const std::string& record) {
    Lines lines;
    std::ifstream file(std::filesystem::path(widen(record)));
    for (std::string line; std::getline(file, line);) lines.push_back(line);
    return lines;
}

std::string lines_with(const std::string& beginning, const std::string& path) {
    std::ifstream file(std::filesystem::path(widen(path)));
    int count = 0;
    for (std::string line; std::getline(file, line);) count += line.rfind(beginning, 0) == 0;
    return std::to_string(count);
}

class Probe {
public:
    Lines answer(const std::string& command) {
        std::istringstream words(command);
        std::string verb;
        words >> verb;
        if (verb == "until") {
            std::string pattern;
            words >> pattern;
            return until(pattern, rest(words));
        }
        if (verb == "start") {
            std::string name;
            words >> name;
            programs_[name] = std::make_unique<WatchedProgram>(widen(rest(words)));
            current_ = name;
            return {};
        }
        if (verb == "use") {
            words >> current_;
            program();
            return {};
        }
        if (verb == "forget") {
            programs_.erase(current_);
            return {};
        }
        if (verb == "hovered") return {was_dragged_over() ? "yes" : "no"};
        if (verb == "dropped") return narrow_all(dropped_files());
        if (verb == "windows") return windows();
        if (verb == "clipboard") return clipboard();
        if (verb == "listen") {
            listen_to_announcements();
            return {};
        }
        if (verb == "announced") return {std::to_string(heard_announcements())};
        if (verb == "clipboard_files") return clipboard_files();
        if (verb == "opened") return opened(rest(words));
        if (verb == "hold_clipboard") {
            if (!OpenClipboard(nullptr)) throw std::runtime_error("the clipboard is in use");
            return {};
        }
        if (verb == "give_clipboard") {
            CloseClipboard();
            return {};
        }
        if (verb == "lines_with") {
            std::string beginning;
            words >> beginning;
            return {lines_with(beginning, rest(words))};
        }
        if (verb == "drop_target") {
            RECT place{};
            words >> place.left >> place.top >> place.right >> place.bottom;
            open_drop_target(place);
            return {};
        }
        return about_program(verb, words);
    }

private:
    static std::string rest(std::istringstream& words) {
        std::string text;
        std::getline(words >> std::ws, text);
        return text;
    }

    WatchedProgram& program() {
        const auto found = programs_.find(current_);
        if (found == programs_.end()) throw std::runtime_error("no program " + current_);
        return *found->second;
    }

    static std::string row(const WatchedProgram& watched, int index) {
        std::string text;
        for (int column = 0; column < 4; ++column) {
            text += (column > 0 ? "\t" : "") + narrow(watched.cell(index, column));
        }
        return text;
    }

    Lines about_program(const std::string& verb, std::istringstream& words) {
        WatchedProgram& watched = program();
        const auto number = [&words] {
            int value = 0;
            if (!(words >> value)) throw std::runtime_error("a number is missing");
            return value;
        };
        if (verb == "state") return {watched.state()};
        if (verb == "process") return {std::to_string(watched.process_number())};
        if (verb == "title") return {narrow(watched.title())};
        if (verb == "status") return {narrow(watched.status(number()))};
        if (verb == "text") return {narrow(watched.text(number()))};
        if (verb == "count") return {std::to_string(watched.count())};
        if (verb == "row") return {row(watched, number())};
        if (verb == "top_row") return {row(watched, watched.first_row_in_view())};
        if (verb == "selected_row") {
            const auto selected = watched.selected();
            return {selected.size() == 1 ? row(watched, selected.front()) : ""};
        }
        if (verb == "rows" || verb == "column")
            return rows(watched, verb == "rows" ? -1 : number());
        if (verb == "selected") {
            std::string text;
            for (int index : watched.selected()) text += std::to_string(index) + ' ';
            if (!text.empty()) text.pop_back();
            return {text};
        }
        if (verb == "focused") return {std::to_string(watched.focused_row())};
        if (verb == "top") return {std::to_string(watched.first_row_in_view())};
        if (verb == "visible") return {std::to_string(watched.rows_in_view())};
        if (verb == "width") return {std::to_string(watched.column_width(number()))};
        if (verb == "checked") return {watched.checked(number()) ? "yes" : "no"};
        if (verb == "choice") return {narrow(watched.choice(number()))};
        if (verb == "choices") return narrow_all(watched.choices(number()));
        if (verb == "focus") return {std::to_string(watched.focus())};
        if (verb == "place") return {as_text(watched.place())};
        if (verb == "place_of") return {as_text(watched.place_of(number()))};
        if (verb == "place_of_row") return {as_text(watched.place_of_row(number()))};
        if (verb == "place_of_column") return {as_text(watched.place_of_column(number()))};
        if (verb == "box") return narrow_all(watched.box());
        if (verb == "colors") return {watched.list_colors()};
        if (verb == "arrow") return {narrow(watched.arrow(number()))};
        if (verb == "spoken") return {narrow(watched.spoken_name(number()))};
        if (verb == "x_window") return {std::to_string(watched.number_on_screen())};
        if (verb == "handles") return handles(watched);
        if (verb == "maximized") return {watched.maximized() ? "yes" : "no"};
        if (verb == "closing_time") return {std::to_string(watched.closing_time_ms())};
        return change(verb, watched, number);
    }

    template <typename Number>
    Lines change(const std::string& verb, WatchedProgram& watched, const Number& number) {
        if (verb == "close") {
            watched.ask_to_close();
        } else if (verb == "maximize") {
            watched.command(SC_MAXIMIZE);
        } else if (verb == "restore") {
            watched.command(SC_RESTORE);
        } else if (verb == "dpi") {
            watched.change_dpi(number());
        } else if (verb == "tell") {
            watched.tell(static_cast<UINT>(number()));
        } else if (verb == "hold_key") {
            const int control = number();
            watched.hold_key(control, number());
        } else if (verb == "put") {
            const int x = number();
            const int y = number();
            const int width = number();
            watched.place_at(x, y, width, number());
        } else if (verb == "choose") {
            const int control = number();
            watched.choose(control, number());
        } else {
            throw std::runtime_error("no command " + verb);
        }
        return {};
    }

    // Every row, or one cell of every row, while their number does not change.
    static Lines rows(const WatchedProgram& watched, int column) {
        Lines lines;
        const int count = watched.count();
        for (int index = 0; index < count; ++index) {
            lines.push_back(column < 0 ? row(watched, index) : narrow(watched.cell(index, column)));
        }
        return lines;
    }

    static Lines handles(const WatchedProgram& watched) {
        const ProcessObjects objects = ProcessObjects::of(watched.process());
        return {std::to_string(objects.gdi) + ' ' + std::to_string(objects.user) + ' ' +
                std::to_string(objects.kernel)};
    }

    // Blanks in a pattern are written as "\s".
    Lines until(const std::string& pattern, const std::string& command) {
        const std::regex expected(pattern);
        const ULONGLONG started = GetTickCount64();
        for (;;) {
            Lines lines;
            std::string seen;
            try {
                lines = answer(command);
                for (const std::string& line : lines) seen += (seen.empty() ? "" : "\n") + line;
                if (std::regex_match(seen, expected)) return lines;
            } catch (const std::runtime_error& error) {
                seen = error.what();
            }
            if (GetTickCount64() - started > kLimitMs) {
                throw std::runtime_error("waited in vain; at last it was: " + one_line(seen));
            }
            Sleep(kLookMs);
        }
    }

    std::map<std::string, std::unique_ptr<WatchedProgram>> programs_;
    std::string current_;
};

int keep_as_opened(const wchar_t* record, int count, wchar_t** documents) {
    // Several documents are opened at once: of two that append at the same time, one would be lost.
    HANDLE const turn = CreateMutexW(nullptr, FALSE, L"SystemSearchOpenedDocuments");
    WaitForSingleObject(turn, kLimitMs);
    std::ofstream file(std::filesystem::path(record), std::ios::app | std::ios::binary);
    for (int i = 0; i < count; ++i) file << narrow(documents[i]) << '\n';
    return file.flush() ? 0 : 1;  // the end of the program ends the turn
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
    if (count > 2 && std::wstring_view(arguments[1]) == L"--opened") {
        return keep_as_opened(arguments[2], count - 3, arguments + 3);
    }
    _setmode(_fileno(stdin), _O_BINARY);
    _setmode(_fileno(stdout), _O_BINARY);
    Probe probe;
    for (std::string command; std::getline(std::cin, command);) {
        bool well = true;
        Lines lines;
        try {
            lines = probe.answer(command);
        } catch (const std::exception& error) {
            well = false;
            lines = {error.what()};
        }
        std::cout << (well ? "yes " : "no ") << lines.size() << '\n';
        for (const std::string& line : lines) std::cout << line << '\n';
        std::cout.flush();
    }
    return 0;
}
