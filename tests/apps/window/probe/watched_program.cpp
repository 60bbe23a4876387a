#include "watched_program.hpp"

#include <commctrl.h>
#include <oleacc.h>

#include <stdexcept>
#include <utility>

namespace {

constexpr int kList = 1002;
constexpr int kStatusBar = 1003;
constexpr UINT kAnswerLimitMs = 30'000;
constexpr std::size_t kTextUnits = 40'000;  // longer than the longest path

struct Search {
    DWORD process;
    const wchar_t* window_class;
    HWND found;
};

BOOL CALLBACK is_searched(HWND window, LPARAM parameter) {
    auto& search = *reinterpret_cast<Search*>(parameter);
    DWORD process = 0;
    GetWindowThreadProcessId(window, &process);
    wchar_t name[64] = {};
    GetClassNameW(window, name, static_cast<int>(std::size(name)));
    if (process != search.process || std::wstring(name) != search.window_class) return TRUE;
    search.found = window;
    return FALSE;
}

HWND top_window(DWORD process, const wchar_t* window_class) {
    Search search{process, window_class, nullptr};
    EnumWindows(is_searched, reinterpret_cast<LPARAM>(&search));
    return search.found;
}

BOOL CALLBACK collect(HWND window, LPARAM parameter) {
    reinterpret_cast<std::vector<HWND>*>(parameter)->push_back(window);
    return TRUE;
}

RECT on_screen(HWND window, RECT rectangle) {
    MapWindowPoints(window, nullptr, reinterpret_cast<POINT*>(&rectangle), 2);
    return rectangle;
}

}  // namespace

WatchedProgram::WatchedProgram(const std::wstring& command) {
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION started{};
    std::wstring writable = command;
    if (!CreateProcessW(nullptr, writable.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                        &startup, &started)) {
        throw std::runtime_error("does not start: error " + std::to_string(GetLastError()));
    }
    CloseHandle(started.hThread);
    process_ = started.hProcess;
    number_ = started.dwProcessId;
}

WatchedProgram::~WatchedProgram() {
    end();
    memory_.reset();
    CloseHandle(process_);
}

void WatchedProgram::end() const {
    TerminateProcess(process_, 99);
    WaitForSingleObject(process_, kAnswerLimitMs);
}

std::string WatchedProgram::state() const {
    if (WaitForSingleObject(process_, 0) == WAIT_OBJECT_0) {
        DWORD code = 0;
        GetExitCodeProcess(process_, &code);
        return "ended " + std::to_string(code);
    }
    HWND const window = top_window(number_, L"SystemSearchWindow");
    return window != nullptr && IsWindowVisible(window) ? "shown" : "running";
}

HWND WatchedProgram::main_window() const {
    HWND const window = top_window(number_, L"SystemSearchWindow");
    if (window == nullptr) throw std::runtime_error("there is no main window");
    return window;
}

HWND WatchedProgram::control(int number) const {
    HWND const window = GetDlgItem(main_window(), number);
    if (window == nullptr) throw std::runtime_error("no control " + std::to_string(number));
    return window;
}

LRESULT WatchedProgram::send(HWND window, UINT message, WPARAM wparam, LPARAM lparam) const {
    DWORD_PTR answer = 0;
    if (SendMessageTimeoutW(window, message, wparam, lparam, SMTO_NORMAL, kAnswerLimitMs,
                            &answer) == 0) {
        throw std::runtime_error("the window does not answer");
    }
    return static_cast<LRESULT>(answer);
}

RemoteMemory& WatchedProgram::shared_memory() const {
    if (!memory_) {
        memory_ = std::make_unique<RemoteMemory>(process_,
                                                 sizeof(LVITEMW) + kTextUnits * sizeof(wchar_t));
    }
    return *memory_;
}

std::wstring WatchedProgram::window_text(HWND window) const {
    std::wstring text(kTextUnits, L'\0');
    const LRESULT units = send(window, WM_GETTEXT, kTextUnits, reinterpret_cast<LPARAM>(&text[0]));
    text.resize(static_cast<std::size_t>(units));
    return text;
}

std::wstring WatchedProgram::title() const {
    return window_text(main_window());
}

std::wstring WatchedProgram::text(int control_number) const {
    return window_text(control(control_number));
}

std::wstring WatchedProgram::status(int part) const {
    HWND const bar = control(kStatusBar);
    const auto index = static_cast<WPARAM>(part);
    const std::size_t units = LOWORD(send(bar, SB_GETTEXTLENGTHW, index, 0));
    if (units == 0) return {};  // a part that never had a text leaves the memory as it was
    RemoteMemory& memory = shared_memory();
    // A text that changed in between may be longer; the memory is large enough for any.
    send(bar, SB_GETTEXTW, index, memory.parameter());
    std::wstring text(units + 1, L'\0');
    memory.read(text.data(), text.size() * sizeof(wchar_t));
    return text.c_str();
}

int WatchedProgram::count() const {
    return static_cast<int>(send(control(kList), LVM_GETITEMCOUNT, 0, 0));
}

std::wstring WatchedProgram::cell(int row, int column) const {
    RemoteMemory& memory = shared_memory();
    LVITEMW item{};
    item.iSubItem = column;
    item.pszText = reinterpret_cast<wchar_t*>(memory.bytes() + sizeof item);
    item.cchTextMax = static_cast<int>(kTextUnits);
    memory.write(item);
    const LRESULT units =
        send(control(kList), LVM_GETITEMTEXTW, static_cast<WPARAM>(row), memory.parameter());
    memory.read(&item, sizeof item);
    // The list may answer with a text of its own instead of filling ours.
    std::wstring text(static_cast<std::size_t>(units) + 1, L'\0');
    if (!ReadProcessMemory(process_, item.pszText, text.data(), text.size() * sizeof(wchar_t),
                           nullptr)) {
        throw std::runtime_error("the text of a cell cannot be read");
    }
    return text.c_str();
}

std::vector<int> WatchedProgram::selected() const {
    std::vector<int> rows;
    HWND const list = control(kList);
    LRESULT row = -1;
    while ((row = send(list, LVM_GETNEXTITEM, static_cast<WPARAM>(row), LVNI_SELECTED)) >= 0) {
        rows.push_back(static_cast<int>(row));
    }
    return rows;
}

int WatchedProgram::focused_row() const {
    return static_cast<int>(
        send(control(kList), LVM_GETNEXTITEM, static_cast<WPARAM>(-1), LVNI_FOCUSED));
}

int WatchedProgram::first_row_in_view() const {
    return static_cast<int>(send(control(kList), LVM_GETTOPINDEX, 0, 0));
}

int WatchedProgram::rows_in_view() const {
    return static_cast<int>(send(control(kList), LVM_GETCOUNTPERPAGE, 0, 0));
}

int WatchedProgram::column_width(int column) const {
    return static_cast<int>(
        send(control(kList), LVM_GETCOLUMNWIDTH, static_cast<WPARAM>(column), 0));
}

std::string WatchedProgram::list_colors() const {
    HWND const list = control(kList);
    return std::to_string(send(list, LVM_GETBKCOLOR, 0, 0)) + ' ' +
           std::to_string(send(list, LVM_GETTEXTCOLOR, 0, 0));
}

bool WatchedProgram::checked(int control_number) const {
    return send(control(control_number), BM_GETCHECK, 0, 0) == BST_CHECKED;
}

std::wstring WatchedProgram::choice(int control_number) const {
    return window_text(control(control_number));
}

std::vector<std::wstring> WatchedProgram::choices(int control_number) const {
    HWND const combo = control(control_number);
    std::vector<std::wstring> texts;
    const LRESULT count = send(combo, CB_GETCOUNT, 0, 0);
    for (LRESULT i = 0; i < count; ++i) {
        std::wstring text(kTextUnits, L'\0');
        const LRESULT units =
            send(combo, CB_GETLBTEXT, static_cast<WPARAM>(i), reinterpret_cast<LPARAM>(&text[0]));
        text.resize(static_cast<std::size_t>(units));
        texts.push_back(text);
    }
    return texts;
}

void WatchedProgram::choose(int control_number, int index) const {
    HWND const combo = control(control_number);
    send(combo, CB_SETCURSEL, static_cast<WPARAM>(index), 0);
    send(main_window(), WM_COMMAND, MAKEWPARAM(control_number, CBN_SELCHANGE),
         reinterpret_cast<LPARAM>(combo));
}

int WatchedProgram::focus() const {
    HWND const window = main_window();
    GUITHREADINFO thread{};
    thread.cbSize = sizeof thread;
    GetGUIThreadInfo(GetWindowThreadProcessId(window, nullptr), &thread);
    if (thread.hwndFocus == nullptr || GetForegroundWindow() != thread.hwndActive) return 0;
    return GetDlgCtrlID(thread.hwndFocus);
}

RECT WatchedProgram::place() const {
    RECT rectangle{};
    GetWindowRect(main_window(), &rectangle);
    return rectangle;
}

bool WatchedProgram::maximized() const {
    return IsZoomed(main_window()) != FALSE;
}

RECT WatchedProgram::place_of(int control_number) const {
    RECT rectangle{};
    GetWindowRect(control(control_number), &rectangle);
    return rectangle;
}

RECT WatchedProgram::remote_rectangle(HWND window, UINT message, WPARAM wparam, RECT start) const {
    RemoteMemory& memory = shared_memory();
    memory.write(start);
    send(window, message, wparam, memory.parameter());
    memory.read(&start, sizeof start);
    return on_screen(window, start);
}

RECT WatchedProgram::place_of_row(int row) const {
    return remote_rectangle(control(kList), LVM_GETITEMRECT, static_cast<WPARAM>(row),
                            {LVIR_LABEL, 0, 0, 0});
}

RECT WatchedProgram::place_of_column(int column) const {
    auto* const header = reinterpret_cast<HWND>(send(control(kList), LVM_GETHEADER, 0, 0));
    return remote_rectangle(header, HDM_GETITEMRECT, static_cast<WPARAM>(column), {});
}

std::wstring WatchedProgram::arrow(int column) const {
    RemoteMemory& memory = shared_memory();
    HDITEMW item{};
    item.mask = HDI_FORMAT;
    memory.write(item);
    send(reinterpret_cast<HWND>(send(control(kList), LVM_GETHEADER, 0, 0)), HDM_GETITEMW,
         static_cast<WPARAM>(column), memory.parameter());
    memory.read(&item, sizeof item);
    if ((item.fmt & HDF_SORTUP) != 0) return L"up";
    return (item.fmt & HDF_SORTDOWN) != 0 ? L"down" : L"none";
}

std::size_t WatchedProgram::number_on_screen() const {
    return reinterpret_cast<std::size_t>(GetPropW(main_window(), L"__wine_x11_whole_window"));
}

std::wstring WatchedProgram::spoken_name(int control_number) const {
    CoInitialize(nullptr);
    IAccessible* object = nullptr;
    void** const out = reinterpret_cast<void**>(&object);
    HRESULT result = AccessibleObjectFromWindow(
        control(control_number), static_cast<DWORD>(OBJID_CLIENT), __uuidof(IAccessible), out);
    if (FAILED(result)) throw std::runtime_error("the control is hidden from screen readers");
    VARIANT self{};
    self.vt = VT_I4;
    self.lVal = CHILDID_SELF;
    BSTR name = nullptr;
    result = object->get_accName(self, &name);
    std::wstring text = SUCCEEDED(result) && name != nullptr ? name : L"";
    SysFreeString(name);
    object->Release();
    return text;
}

std::vector<std::wstring> WatchedProgram::box() const {
    HWND const window = top_window(number_, L"#32770");
    if (window == nullptr || !IsWindowVisible(window)) return {};
    std::vector<HWND> children;
    EnumChildWindows(window, collect, reinterpret_cast<LPARAM>(&children));
    std::vector<std::wstring> texts{window_text(window)};
    for (HWND child : children) {
        std::wstring text = window_text(child);
        if (!text.empty()) texts.push_back(std::move(text));
    }
    return texts;
}

void WatchedProgram::ask_to_close() const {
    PostMessageW(main_window(), WM_CLOSE, 0, 0);
}

double WatchedProgram::closing_time_ms() const {
    LARGE_INTEGER frequency;
    LARGE_INTEGER started;
    LARGE_INTEGER ended;
    QueryPerformanceFrequency(&frequency);
    QueryPerformanceCounter(&started);
    ask_to_close();
    if (WaitForSingleObject(process_, kAnswerLimitMs) != WAIT_OBJECT_0) {
        throw std::runtime_error("the program does not end");
    }
    QueryPerformanceCounter(&ended);
    return 1000.0 * static_cast<double>(ended.QuadPart - started.QuadPart) /
           static_cast<double>(frequency.QuadPart);
}

void WatchedProgram::command(WPARAM command) const {
    PostMessageW(main_window(), WM_SYSCOMMAND, command, 0);
}

void WatchedProgram::change_dpi(int dpi) const {
    send(main_window(), WM_DPICHANGED, MAKEWPARAM(dpi, dpi), 0);
}

void WatchedProgram::tell(UINT message) const {
    send(main_window(), message, 0, 0);
}

void WatchedProgram::hold_key(int control_number, int key) const {
    constexpr LPARAM kWasDown = LPARAM{1} << 30;
    PostMessageW(control(control_number), WM_KEYDOWN, static_cast<WPARAM>(key), kWasDown | 1);
}

void WatchedProgram::place_at(int x, int y, int width, int height) const {
    if (!SetWindowPos(main_window(), nullptr, x, y, width, height, SWP_NOZORDER | SWP_NOACTIVATE)) {
        throw std::runtime_error("the window cannot be moved");
    }
}
