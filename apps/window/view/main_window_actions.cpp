/* The keys and menus of the window, and what they do with results. */
#include "common/wide_text.hpp"
#include "model/paths.hpp"
#include "system/drag_source.hpp"
#include "system/shell_actions.hpp"
#include "view/main_window.hpp"

namespace window {
namespace {

enum Command : UINT { kOpen = 1, kShow, kCopyPath, kCopyName, kProperties };

bool is_down(int key) {
    return GetKeyState(key) < 0;
}

}  // namespace

bool MainWindow::translate(MSG& message) noexcept {
    try {
        return take_message(message);
    } catch (const std::exception&) {
        tell_no_memory();
        return true;
    }
}

bool MainWindow::take_message(MSG& message) {
    if (!IsChild(window_, message.hwnd) && message.hwnd != window_) return false;
    const bool in_box = message.hwnd == bar_->box();
    const bool is_key = message.message == WM_KEYDOWN || message.message == WM_SYSKEYDOWN;
    if (in_box && message.message == WM_KEYDOWN) measurements_.key_pressed(message);
    if (is_key && handle_key(message)) return true;
    // Letters typed into the list belong into the box.
    if (message.message == WM_CHAR && message.hwnd == list_->handle() && message.wParam > L' ') {
        SetFocus(bar_->box());
        const int end = GetWindowTextLengthW(bar_->box());
        SendMessageW(bar_->box(), EM_SETSEL, static_cast<WPARAM>(end), end);
        message.hwnd = bar_->box();
        return false;
    }
    // Ctrl+Backspace would put a sign into the box.
    if (in_box && message.message == WM_CHAR && message.wParam == 0x7F) return true;
    return IsDialogMessageW(window_, &message) != FALSE;
}

bool MainWindow::handle_key(const MSG& message) {
    const bool in_box = message.hwnd == bar_->box();
    const bool in_list = message.hwnd == list_->handle();
    const bool with_control = is_down(VK_CONTROL);
    const bool with_alt = message.message == WM_SYSKEYDOWN;
    switch (message.wParam) {
        case VK_F1:
            show_details();
            return true;
        case VK_F5:
            session_->refresh();
            tick();
            return true;
        case VK_F3:
            break;
        case 'F':
        case 'L':
            if (!with_control || with_alt) return false;
            break;
        case 'O':
            if (!with_control || with_alt) return false;
            pick_folder();
            return true;
        case VK_ESCAPE:
            if (bar_->has_open_choice()) return false;
            bar_->empty_box();
            SetFocus(bar_->box());
            return true;
        case VK_RETURN:
            if (!in_box && !in_list) return false;
            if (with_alt) {
                show_properties_of_result();
            } else if (with_control) {
                show_in_folders();
            } else {
                open_results();
            }
            return true;
        case VK_UP:
        case VK_DOWN:
        case VK_PRIOR:
        case VK_NEXT:
            if (!in_box || with_alt) return false;
            SendMessageW(list_->handle(), WM_KEYDOWN, message.wParam, message.lParam);
            return true;
        case 'A':
            if (!in_list || !with_control) return false;
            ListView_SetItemState(list_->handle(), -1, LVIS_SELECTED, LVIS_SELECTED);
            return true;
        case 'C':
        case VK_INSERT:
            if (!in_list || !with_control) return false;
            if (is_down(VK_SHIFT)) {
                copy_names();
            } else {
                copy_paths();
            }
            return true;
        default:
            return false;
    }
    SetFocus(bar_->box());
    SendMessageW(bar_->box(), EM_SETSEL, 0, -1);
    return true;
}

void MainWindow::on_context_menu(HWND from, POINT at) {
    if (from != list_->handle()) return;
    const std::size_t selected = list_->selected_paths().size();
    if (selected == 0) return;
    if (at.x == -1 && at.y == -1) {  // by the keyboard: beside the row that has the focus
        RECT row{};
        const int focused = ListView_GetNextItem(list_->handle(), -1, LVNI_FOCUSED);
        ListView_GetItemRect(list_->handle(), focused < 0 ? 0 : focused, &row, LVIR_LABEL);
        at = {row.left, row.bottom};
        ClientToScreen(list_->handle(), &at);
    }
    HMENU menu = CreatePopupMenu();
    AppendMenuW(menu, MF_STRING, kOpen, L"&Open\tEnter");
    AppendMenuW(menu, MF_STRING, kShow, L"&Show in folder\tCtrl+Enter");
    AppendMenuW(menu, MF_SEPARATOR, 0, nullptr);
    AppendMenuW(menu, MF_STRING, kCopyPath, L"Copy &path\tCtrl+C");
    AppendMenuW(menu, MF_STRING, kCopyName, L"Copy &name\tCtrl+Shift+C");
    AppendMenuW(menu, MF_SEPARATOR, 0, nullptr);
    AppendMenuW(menu, selected == 1 ? MF_STRING : MF_STRING | MF_GRAYED, kProperties,
                L"P&roperties\tAlt+Enter");
    SetMenuDefaultItem(menu, kOpen, FALSE);
    const BOOL chosen =
        TrackPopupMenu(menu, TPM_RETURNCMD | TPM_RIGHTBUTTON, at.x, at.y, 0, window_, nullptr);
    DestroyMenu(menu);
    switch (chosen) {
        case kOpen:
            open_results();
            break;
        case kShow:
            show_in_folders();
            break;
        case kCopyPath:
            copy_paths();
            break;
        case kCopyName:
            copy_names();
            break;
        case kProperties:
            show_properties_of_result();
            break;
        default:
            break;
    }
}

/* Who types fast and presses Enter means what the text finds, not what the list still shows. */
bool MainWindow::waits_for_answer(void (MainWindow::*action)()) {
    after_answer_ = searches_.is_answered() ? nullptr : action;
    return after_answer_ != nullptr;
}

void MainWindow::open_results() {
    if (waits_for_answer(&MainWindow::open_results)) return;
    constexpr std::size_t kMany = 10;
    const std::vector<std::string> paths = list_->chosen_paths();
    if (paths.size() > kMany) {
        const std::wstring question = L"Open all " + std::to_wstring(paths.size()) + L" at once?";
        if (MessageBoxW(window_, question.c_str(), L"System Search",
                        MB_OKCANCEL | MB_ICONQUESTION) != IDOK) {
            return;
        }
    }
    for (const std::string& path : paths) tell(open_result(window_, path));
}

void MainWindow::show_in_folders() {
    if (waits_for_answer(&MainWindow::show_in_folders)) return;
    tell(show_in_folder(window_, list_->chosen_paths()));
}

void MainWindow::copy_paths() {
    std::vector<std::wstring> lines;
    for (const std::string& path : list_->chosen_paths()) lines.push_back(app::native_wide(path));
    if (!lines.empty()) tell(copy_lines(window_, lines));
}

void MainWindow::copy_names() {
    std::vector<std::wstring> lines;
    for (const std::string& path : list_->chosen_paths())
        lines.push_back(app::to_wide(name_of(path)));
    if (!lines.empty()) tell(copy_lines(window_, lines));
}

void MainWindow::show_properties_of_result() {
    if (waits_for_answer(&MainWindow::show_properties_of_result)) return;
    const std::vector<std::string> paths = list_->chosen_paths();
    if (!paths.empty()) tell(show_properties(window_, paths.front()));
}

void MainWindow::drag_results() {
    std::vector<std::wstring> paths;
    for (const std::string& path : list_->selected_paths()) paths.push_back(app::native_wide(path));
    if (!paths.empty()) drag_files(paths);
}

}  // namespace window
