#include "name_cell.hpp"

#include <usp10.h>

#include <algorithm>

namespace window {
namespace {

int width_of(HDC dc, const wchar_t* text, int units) {
    SIZE size{};
    GetTextExtentPoint32W(dc, text, units, &size);
    return size.cx;
}

/* Cuts `text` to `width` pixels; returns how many units of it are left before the ellipsis. */
std::size_t shorten(HDC dc, std::wstring& text, int width) {
    const int units = static_cast<int>(text.size());
    if (width_of(dc, text.c_str(), units) <= width) return text.size();
    int fitting = 0;
    SIZE size{};
    const int room = std::max(0, width - width_of(dc, L"\x2026", 1));
    GetTextExtentExPointW(dc, text.c_str(), units, room, &fitting, nullptr, &size);
    auto kept = static_cast<std::size_t>(fitting);
    const bool splits_pair = kept > 0 && (text[kept - 1] & 0xFC00) == 0xD800;
    if (splits_pair) --kept;
    text.resize(kept);
    text += L'\x2026';
    return kept;
}

/* Where units of a text are on the screen, also in a text that runs from right to left. */
class Positions {
public:
    Positions(HDC dc, const std::wstring& text) {
        const int units = static_cast<int>(text.size());
        const int glyphs = units * 3 / 2 + 16;  // as the function's documentation advises
        if (FAILED(ScriptStringAnalyse(dc, text.c_str(), units, glyphs, -1,
                                       SSA_GLYPHS | SSA_FALLBACK | SSA_LINK, 0, nullptr, nullptr,
                                       nullptr, nullptr, nullptr, &analysis_))) {
            analysis_ = nullptr;
        }
    }
    ~Positions() {
        if (analysis_) ScriptStringFree(&analysis_);
    }
    Positions(const Positions&) = delete;
    Positions& operator=(const Positions&) = delete;

    bool find(const Range& range, int& left, int& right) const {
        if (!analysis_) return false;
        int first = 0;
        int last = 0;
        if (FAILED(ScriptStringCPtoX(analysis_, static_cast<int>(range.begin), FALSE, &first)) ||
            FAILED(ScriptStringCPtoX(analysis_, static_cast<int>(range.end) - 1, TRUE, &last))) {
            return false;
        }
        left = std::min(first, last);
        right = std::max(first, last);
        return true;
    }

private:
    SCRIPT_STRING_ANALYSIS analysis_ = nullptr;
};

}  // namespace

CellColors cell_colors(bool is_selected, bool list_has_focus) {
    if (!is_selected) {
        return {GetSysColor(COLOR_WINDOW), GetSysColor(COLOR_WINDOWTEXT),
                GetSysColor(COLOR_HOTLIGHT)};
    }
    if (list_has_focus) {
        const COLORREF text = GetSysColor(COLOR_HIGHLIGHTTEXT);
        return {GetSysColor(COLOR_HIGHLIGHT), text, text};
    }
    return {GetSysColor(COLOR_BTNFACE), GetSysColor(COLOR_BTNTEXT), GetSysColor(COLOR_HOTLIGHT)};
}

void paint_name(HDC dc, const RECT& cell, std::wstring text, const std::vector<Range>& matched,
                const CellColors& colors) {
    const int saved = SaveDC(dc);
    IntersectClipRect(dc, cell.left, cell.top, cell.right, cell.bottom);
    SetBkColor(dc, colors.background);
    ExtTextOutW(dc, 0, 0, ETO_OPAQUE, &cell, L"", 0, nullptr);

    TEXTMETRICW metrics{};
    GetTextMetricsW(dc, &metrics);
    const int padding = std::max(2, static_cast<int>(metrics.tmAveCharWidth) / 3);
    const int x = cell.left + padding;
    const int y = cell.top + (cell.bottom - cell.top - metrics.tmHeight) / 2;
    const std::size_t kept = shorten(dc, text, cell.right - padding - x);
    const UINT units = static_cast<UINT>(text.size());
    SetBkMode(dc, TRANSPARENT);
    SetTextColor(dc, colors.text);
    ExtTextOutW(dc, x, y, 0, nullptr, text.c_str(), units, nullptr);

    // The whole text is drawn again where it matches: only so do its letters keep their shapes.
    const Positions positions(dc, text);
    SetTextColor(dc, colors.match);
    for (const Range& range : matched) {
        int left = 0;
        int right = 0;
        const Range visible{range.begin, std::min(range.end, kept)};
        if (visible.begin >= visible.end || !positions.find(visible, left, right)) continue;
        const RECT part{x + left, cell.top, x + right + 1, cell.bottom};
        const int inner = SaveDC(dc);
        IntersectClipRect(dc, part.left, part.top, part.right, part.bottom);
        ExtTextOutW(dc, 0, 0, ETO_OPAQUE, &part, L"", 0, nullptr);
        ExtTextOutW(dc, x, y, 0, nullptr, text.c_str(), units, nullptr);
        // A second stroke beside the first makes it bold without making it wider.
        ExtTextOutW(dc, x + 1, y, 0, nullptr, text.c_str(), units, nullptr);
        RestoreDC(dc, inner);
    }
    RestoreDC(dc, saved);
}

}  // namespace window
