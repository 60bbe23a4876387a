/* The keys and menus of the window, and what they do with results. */
#include "common/wide_text.hpp"
#include "model/many.hpp"
#include "model/paths.hpp"
#include "model/shell_paths.hpp"
#include "system/clipboard.hpp"
#include "system/drag_source.hpp"
#include "system/shell_actions.hpp"
#include "view/main_window.hpp"

namespace window {
namespace {

enum Entry : UINT { kOpen = 1, kShow, kCopy, kCopyPath, kCopyName, kProperties };

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
    // A choice that is open goes to the entry that begins with the letter, and a field is typed
    // into.
    const bool takes_letters =
        in_box || bar_->has_open_choice() || GetParent(message.hwnd) != window_;
    if (message.message == WM_CHAR && !takes_letters &&
        belongs_into_box(static_cast<unsigned>(message.wParam))) {
        SetFocus(bar_->box());
        const int end = GetWindowTextLengthW(bar_->box());
        SendMessageW(bar_->box(), EM_SETSEL, static_cast<WPARAM>(end), end);
        message.hwnd = bar_->box();
        return false;
    }
    return IsDialogMessageW(window_, &message) != FALSE;
}

KeyContext MainWindow::key_context(HWND focused) const {
    KeyContext context;
    if (focused == bar_->box()) context.place = Place::kBox;
    if (focused == list_->handle()) context.place = Place::kList;
    DWORD first = 0;
    DWORD last = 0;
    SendMessageW(bar_->box(), EM_GETSEL, reinterpret_cast<WPARAM>(&first),
                 reinterpret_cast<LPARAM>(&last));
    context.text_is_selected = first != last;
    context.choice_is_open = bar_->has_open_choice();
    return context;
}

bool MainWindow::handle_key(const MSG& message) {
    constexpr LPARAM kWasDown = LPARAM{1} << 30;
    const KeyPress press{static_cast<unsigned>(message.wParam), is_down(VK_CONTROL),
                         is_down(VK_MENU), is_down(VK_SHIFT), (message.lParam & kWasDown) != 0};
    return carry_out(command_of(press, key_context(message.hwnd)), message);
}

/* False when the key is the control's own. */
bool MainWindow::carry_out(Command command, const MSG& message) {
    const bool from_box = message.hwnd == bar_->box();
    switch (command) {
        case Command::kNone:
            return false;
        case Command::kIgnore:
            return true;
        case Command::kDetails:
            show_details();
            return true;
        case Command::kRefresh:
            session_->refresh();
            tick();
            return true;
        case Command::kToScope:
        case Command::kToKind:
            SetFocus(GetDlgItem(window_, command == Command::kToScope ? kScopeId : kKindId));
            return true;
        case Command::kToggleCase:
        case Command::kTogglePath:
            SendDlgItemMessageW(window_, command == Command::kToggleCase ? kCaseId : kPathId,
                                BM_CLICK, 0, 0);
            return true;
        case Command::kPickFolder:
            pick_folder();
            return true;
        case Command::kToBox:
        case Command::kEmptyBox:
        case Command::kDeleteWord:
        case Command::kUndo:
            edit_box(command);
            return true;
        case Command::kMoveInList:
            SendMessageW(list_->handle(), WM_KEYDOWN, message.wParam, message.lParam);
            return true;
        case Command::kSelectAll:
            if (from_box) {
                edit_box(Command::kToBox);
            } else {
                ListView_SetItemState(list_->handle(), -1, LVIS_SELECTED, LVIS_SELECTED);
            }
            return true;
        case Command::kOpen:
            act_on_pointed(&MainWindow::open_results, from_box);
            return true;
        case Command::kShow:
            act_on_pointed(&MainWindow::show_in_folders, from_box);
            return true;
        case Command::kProperties:
            act_on_pointed(&MainWindow::show_properties_of_result, from_box);
            return true;
        case Command::kCopy:
            act_on_pointed(&MainWindow::copy_results, from_box);
            return true;
        case Command::kCopyPaths:
            act_on_pointed(&MainWindow::copy_paths, from_box);
            return true;
    }
    return false;
}

/* Each of these ends with the keyboard in the box. */
void MainWindow::edit_box(Command command) {
    HWND box = bar_->box();
    SetFocus(box);
    if (command == Command::kUndo) {
        SendMessageW(box, EM_UNDO, 0, 0);
        return;
    }
    if (command == Command::kDeleteWord) {
        bar_->delete_word();
        return;
    }
    SendMessageW(box, EM_SETSEL, 0, -1);
    if (command == Command::kEmptyBox) bar_->empty_box();
}

void MainWindow::on_context_menu(HWND from, POINT at) {
    if (from != list_->handle()) return;
    // The rows may change while the menu is open; what is meant stays.
    const Paths paths = list_->pointed_paths(/*from_box=*/false);
    if (paths.empty()) return;
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
    AppendMenuW(menu, MF_STRING, kCopy, L"&Copy\tCtrl+C");
    AppendMenuW(menu, MF_STRING, kCopyPath, L"Copy &path\tCtrl+Shift+C");
    AppendMenuW(menu, MF_STRING, kCopyName, L"Copy &name");
    AppendMenuW(menu, MF_SEPARATOR, 0, nullptr);
    AppendMenuW(menu, paths.size() == 1 ? MF_STRING : MF_STRING | MF_GRAYED, kProperties,
                L"P&roperties\tAlt+Enter");
    SetMenuDefaultItem(menu, kOpen, FALSE);
    const BOOL chosen =
        TrackPopupMenu(menu, TPM_RETURNCMD | TPM_RIGHTBUTTON, at.x, at.y, 0, window_, nullptr);
    DestroyMenu(menu);
    switch (chosen) {
        case kOpen:
            open_results(paths);
            break;
        case kShow:
            show_in_folders(paths);
            break;
        case kCopy:
            copy_results(paths);
            break;
        case kCopyPath:
            copy_paths(paths);
            break;
        case kCopyName:
            copy_names(paths);
            break;
        case kProperties:
            show_properties_of_result(paths);
            break;
        default:
            break;
    }
}

/* Who types fast and presses Enter means what the text finds, not what the list still shows. */
void MainWindow::act_on_pointed(Action action, bool from_box) {
    after_answer_ = nullptr;
    if (from_box && !searches_.is_answered() && !list_->pointed().is_of_this_question()) {
        after_answer_ = action;
        return;
    }
    const Paths paths = list_->pointed_paths(from_box);
    if (!paths.empty()) (this->*action)(paths);
}

bool MainWindow::confirms(const std::string& question) {
    return question.empty() || MessageBoxW(window_, app::to_wide(question).c_str(),
                                           L"System Search", MB_OKCANCEL | MB_ICONQUESTION) == IDOK;
}

/* The task may wait for a disk: the window does not. What went wrong comes back as a message. */
void MainWindow::in_background(std::function<std::string()> task) {
    shell_.post([task = std::move(task), window = window_] {
        auto sentence = std::make_unique<std::string>(task());
        const auto address = reinterpret_cast<LPARAM>(sentence.get());
        if (PostMessageW(window, kBackgroundDone, 0, address))
            static_cast<void>(sentence.release());
        // Whoever takes the message frees the text.
    });  // NOLINT(clang-analyzer-cplusplus.NewDeleteLeaks)
}

void MainWindow::open_results(const Paths& paths) {
    if (!confirms(question_before_opening(paths.size(), "items", numbers_))) return;
    for (const std::string& path : paths) in_background([path] { return open_result(path); });
}

void MainWindow::show_in_folders(const Paths& paths) {
    if (!confirms(question_before_opening(folders_of(paths), "folders", numbers_))) return;
    in_background([paths] { return show_in_folder(paths); });
}

/* The files that other programs can be given, as they call them. */
std::vector<std::wstring> MainWindow::to_pass_on(const Paths& paths) {
    std::vector<std::wstring> files;
    for (const std::string& path : paths) {
        const std::string refusal = shell_refusal(path);
        tell(refusal);
        if (refusal.empty()) files.push_back(app::native_wide(path));
    }
    return files;
}

void MainWindow::copy_results(const Paths& paths) {
    const std::vector<std::wstring> files = to_pass_on(paths);
    std::vector<std::wstring> lines;
    for (const std::string& path : paths) lines.push_back(app::native_wide(path));
    tell(copy_files(window_, files, lines));
}

void MainWindow::copy_paths(const Paths& paths) {
    std::vector<std::wstring> lines;
    for (const std::string& path : paths) lines.push_back(app::native_wide(path));
    tell(copy_lines(window_, lines));
}

void MainWindow::copy_names(const Paths& paths) {
    std::vector<std::wstring> lines;
    for (const std::string& path : paths) lines.push_back(app::to_wide(name_of(path)));
    tell(copy_lines(window_, lines));
}

void MainWindow::show_properties_of_result(const Paths& paths) {
    in_background([path = paths.front()] { return show_properties(path); });
}

void MainWindow::drag_results() {
    const std::vector<std::wstring> files = to_pass_on(list_->selected_paths());
    if (!files.empty()) drag_files(files);
}

}  // namespace window
