#include "view/status_bar.hpp"

#include <commctrl.h>

#include <algorithm>

#include "common/wide_text.hpp"

namespace window {

StatusBar::StatusBar(HWND parent, int id) {
    bar_ = CreateWindowExW(0, STATUSCLASSNAMEW, L"Status", WS_CHILD | WS_VISIBLE | SBARS_SIZEGRIP,
                           0, 0, 0, 0, parent, reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)),
                           nullptr, nullptr);
    divide();
}

int StatusBar::height() const {
    RECT box{};
    GetWindowRect(bar_, &box);
    return static_cast<int>(box.bottom - box.top);
}

void StatusBar::set_text(Part part, const std::string& text) {
    std::wstring wide = app::to_wide(text);
    if (wide == texts_[part]) return;  // the same text again would only flicker
    const int width_before = width_of(texts_[part]);
    texts_[part] = std::move(wide);
    SendMessageW(bar_, SB_SETTEXTW, part, reinterpret_cast<LPARAM>(texts_[part].c_str()));
    if (part != kResults && width_of(texts_[part]) != width_before) divide();
}

void StatusBar::announce() const {
    constexpr LONG kChild = 1 + kResults;
    NotifyWinEvent(EVENT_OBJECT_NAMECHANGE, bar_, OBJID_CLIENT, kChild);
    NotifyWinEvent(EVENT_OBJECT_LIVEREGIONCHANGED, bar_, OBJID_CLIENT, kChild);
}

void StatusBar::set_font(HFONT font) {
    SendMessageW(bar_, WM_SETFONT, reinterpret_cast<WPARAM>(font), TRUE);
    divide();
}

int StatusBar::width_of(const std::wstring& text) const {
    if (text.empty()) return 0;
    HDC dc = GetDC(bar_);
    HGDIOBJ before =
        SelectObject(dc, reinterpret_cast<HFONT>(SendMessageW(bar_, WM_GETFONT, 0, 0)));
    SIZE size{};
    SIZE margin{};
    GetTextExtentPoint32W(dc, text.c_str(), static_cast<int>(text.size()), &size);
    GetTextExtentPoint32W(dc, L"00", 2, &margin);
    SelectObject(dc, before);
    ReleaseDC(bar_, dc);
    return static_cast<int>(size.cx + margin.cx);
}

void StatusBar::divide() {
    RECT client{};
    GetClientRect(bar_, &client);
    const int width = static_cast<int>(client.right);
    const int skipped = texts_[kSkipped].empty() ? 0 : width_of(texts_[kSkipped]);
    const int grip = height();
    // The results' sentence keeps at least a third.
    const int index = std::min(width_of(texts_[kIndex]), width * 2 / 3 - skipped - grip);
    const int rights[kPartCount] = {std::max(0, width - skipped - grip - std::max(0, index)),
                                    std::max(0, width - skipped - grip), -1};
    SendMessageW(bar_, SB_SETPARTS, kPartCount, reinterpret_cast<LPARAM>(rights));
}

}  // namespace window
