#include "view/search_bar.hpp"

#include <commctrl.h>

#include <algorithm>
#include <initializer_list>

#include "common/wide_text.hpp"
#include "model/paths.hpp"
#include "model/placement.hpp"
#include "model/words.hpp"

namespace window {
namespace {

// "&" marks the letter that leads there together with Alt; a label's leads to the next control.
constexpr const wchar_t* kBoxLabel = L"&Search:";
constexpr const wchar_t* kScopeLabel = L"&In:";
constexpr const wchar_t* kFolderText = L"F&older...";
constexpr const wchar_t* kKindLabel = L"S&how:";
constexpr const wchar_t* kCaseText = L"&Match case";
constexpr const wchar_t* kPathText = L"&Whole path";
constexpr const wchar_t* kKinds[] = {L"Files and folders", L"Files", L"Folders"};

int chosen(HWND combo) {
    return static_cast<int>(SendMessageW(combo, CB_GETCURSEL, 0, 0));
}

bool is_checked(HWND box) {
    return SendMessageW(box, BM_GETCHECK, 0, 0) == BST_CHECKED;
}

void check(HWND box, bool on) {
    SendMessageW(box, BM_SETCHECK, on ? BST_CHECKED : BST_UNCHECKED, 0);
}

}  // namespace

SearchBar::SearchBar(HWND parent, const Settings& settings) : parent_(parent) {
    // Each label comes right before its control: so screen readers know the control's name.
    box_label_ = label(kBoxLabel);
    box_ = control(WC_EDITW, L"", WS_BORDER | WS_TABSTOP | ES_AUTOHSCROLL, kBoxId);
    SendMessageW(box_, EM_SETCUEBANNER, TRUE,
                 reinterpret_cast<LPARAM>(L"A part of the name, or a pattern such as *.pdf"));
    scope_label_ = label(kScopeLabel);
    scope_ = control(WC_COMBOBOXW, L"", WS_TABSTOP | WS_VSCROLL | CBS_DROPDOWNLIST, kScopeId);
    folder_ = control(WC_BUTTONW, kFolderText, WS_TABSTOP | BS_PUSHBUTTON, kFolderId);
    kind_label_ = label(kKindLabel);
    kind_ = control(WC_COMBOBOXW, L"", WS_TABSTOP | CBS_DROPDOWNLIST, kKindId);
    case_ = control(WC_BUTTONW, kCaseText, WS_TABSTOP | BS_AUTOCHECKBOX, kCaseId);
    path_ = control(WC_BUTTONW, kPathText, WS_TABSTOP | BS_AUTOCHECKBOX, kPathId);
    for (const wchar_t* kind : kKinds) {
        SendMessageW(kind_, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(kind));
    }
    SendMessageW(kind_, CB_SETCURSEL, static_cast<WPARAM>(settings.kind), 0);
    check(case_, settings.match_case);
    check(path_, settings.whole_path);
    fill_scopes(settings);
}

HWND SearchBar::label(const wchar_t* text) const {
    return CreateWindowExW(0, WC_STATICW, text, WS_CHILD | WS_VISIBLE | SS_LEFT, 0, 0, 0, 0,
                           parent_, nullptr, nullptr, nullptr);
}

HWND SearchBar::control(const wchar_t* window_class, const wchar_t* text, DWORD style,
                        int id) const {
    return CreateWindowExW(0, window_class, text, WS_CHILD | WS_VISIBLE | style, 0, 0, 0, 0,
                           parent_, reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), nullptr,
                           nullptr);
}

bool SearchBar::has_open_choice() const {
    return SendMessageW(scope_, CB_GETDROPPEDSTATE, 0, 0) != 0 ||
           SendMessageW(kind_, CB_GETDROPPEDSTATE, 0, 0) != 0;
}

std::optional<Question> SearchBar::question() const {
    std::wstring text(static_cast<std::size_t>(GetWindowTextLengthW(box_)) + 1, L'\0');
    text.resize(
        static_cast<std::size_t>(GetWindowTextW(box_, text.data(), static_cast<int>(text.size()))));
    const std::optional<std::string> typed = app::to_utf8(text);
    if (!typed) return std::nullopt;
    return Question{query_text(*typed), static_cast<ss::Kind>(std::clamp(chosen(kind_), 0, 2)),
                    is_checked(case_), is_checked(path_)};
}

std::string SearchBar::scope(const Settings& settings) const {
    const int row = chosen(scope_);
    const auto recent = static_cast<std::size_t>(row) - 1;  // the first row is "all drives"
    return row > 0 && recent < settings.recent.size() ? settings.recent[recent] : "";
}

void SearchBar::fill_scopes(const Settings& settings) {
    SendMessageW(scope_, CB_RESETCONTENT, 0, 0);
    const auto add = [&](const std::string& scope) {
        const std::wstring text = app::to_wide(scope_label(scope));
        SendMessageW(scope_, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(text.c_str()));
    };
    add("");
    for (const std::string& folder : settings.recent) add(folder);
    const auto in_use = std::find(settings.recent.begin(), settings.recent.end(), settings.scope);
    const auto row = in_use == settings.recent.end() ? 0 : in_use - settings.recent.begin() + 1;
    SendMessageW(scope_, CB_SETCURSEL, static_cast<WPARAM>(row), 0);
}

void SearchBar::empty_box() {
    // As if all of it had been selected and deleted: so it can be undone, and the parent is told.
    SendMessageW(box_, EM_SETSEL, 0, -1);
    SendMessageW(box_, EM_REPLACESEL, TRUE, reinterpret_cast<LPARAM>(L""));
}

void SearchBar::delete_word() {
    std::wstring text(static_cast<std::size_t>(GetWindowTextLengthW(box_)) + 1, L'\0');
    GetWindowTextW(box_, text.data(), static_cast<int>(text.size()));
    text.pop_back();
    DWORD first = 0;
    DWORD last = 0;
    SendMessageW(box_, EM_GETSEL, reinterpret_cast<WPARAM>(&first),
                 reinterpret_cast<LPARAM>(&last));
    if (first == last) SendMessageW(box_, EM_SETSEL, word_before(text, first), last);
    SendMessageW(box_, EM_REPLACESEL, TRUE, reinterpret_cast<LPARAM>(L""));
}

void SearchBar::set_font(HFONT font, int dpi) {
    font_ = font;
    dpi_ = dpi;
    for (HWND each :
         {box_label_, box_, scope_label_, scope_, folder_, kind_label_, kind_, case_, path_}) {
        SendMessageW(each, WM_SETFONT, reinterpret_cast<WPARAM>(font), TRUE);
    }
}

int SearchBar::text_width(const wchar_t* text) const {
    HDC dc = GetDC(parent_);
    HGDIOBJ before = SelectObject(dc, font_);
    RECT box{};
    DrawTextW(dc, text, -1, &box, DT_CALCRECT | DT_SINGLELINE);
    SelectObject(dc, before);
    ReleaseDC(parent_, dc);
    return static_cast<int>(box.right);
}

int SearchBar::text_height() const {
    HDC dc = GetDC(parent_);
    HGDIOBJ before = SelectObject(dc, font_);
    TEXTMETRICW metrics{};
    GetTextMetricsW(dc, &metrics);
    SelectObject(dc, before);
    ReleaseDC(parent_, dc);
    return static_cast<int>(metrics.tmHeight);
}

int SearchBar::layout(int width) {
    const int gap = scaled(8, dpi_);
    const int line = text_height();
    const int height = line + scaled(10, dpi_);
    const int label_drop = (height - line) / 2;
    const int labels = std::max(text_width(kBoxLabel), text_width(kScopeLabel)) + gap;
    const int check_mark = scaled(24, dpi_);
    int y = gap;
    // The controls move through each other's places, so that none may take its picture along.
    const auto put = [](HWND control, int x, int top, int w, int h) {
        SetWindowPos(control, nullptr, x, top, std::max(0, w), h,
                     SWP_NOZORDER | SWP_NOACTIVATE | SWP_NOCOPYBITS);
    };
    put(box_label_, gap, y + label_drop, labels, line);
    // The box writes at its upper edge: it gets the height that leaves the same room below.
    const int box_height = line + 6 * GetSystemMetricsForDpi(SM_CYBORDER, static_cast<UINT>(dpi_));
    put(box_, gap + labels, y + (height - box_height) / 2, width - 2 * gap - labels, box_height);

    // The second line is laid out from the right; the scope takes what is left.
    y += height + gap;
    const int dropped_height = height * 12;
    int right = width - gap;
    const auto put_right = [&](HWND control, int w, int top, int h) {
        right -= w;
        put(control, right, top, w, h);
        right -= gap;
    };
    put_right(path_, text_width(kPathText) + check_mark, y, height);
    put_right(case_, text_width(kCaseText) + check_mark, y, height);
    put_right(kind_, text_width(kKinds[0]) + scaled(36, dpi_), y, dropped_height);
    put_right(kind_label_, text_width(kKindLabel), y + label_drop, line);
    put_right(folder_, text_width(kFolderText) + 2 * gap, y, height);
    put(scope_label_, gap, y + label_drop, labels, line);
    put(scope_, gap + labels, y, right - gap - labels, dropped_height);
    const int bottom = y + height + gap;
    const RECT bar{0, 0, width, bottom};
    RedrawWindow(parent_, &bar, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_ALLCHILDREN);
    return bottom;
}

int SearchBar::least_width() const {
    const int texts = text_width(kBoxLabel) + text_width(kPathText) + text_width(kCaseText) +
                      text_width(kKinds[0]) + text_width(kKindLabel) + text_width(kFolderText);
    return texts + scaled(260, dpi_);
}

}  // namespace window
