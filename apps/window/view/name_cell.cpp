#include "view/name_cell.hpp"

#include <usp10.h>

#include <algorithm>
#include <numeric>

#include "model/appearance.hpp"
#include "model/contrast.hpp"

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

/* Letters that stand side by side from left to right, whatever comes before and after them. */
bool is_simple(const std::wstring& text) {
    return std::all_of(text.begin(), text.end(),
                       [](wchar_t unit) { return unit < 0x300 || unit == L'\x2026'; });
}

/* A text with the places of its letters, so that a part of it can be drawn again exactly where it
   was. Texts that run from right to left, or whose letters depend on one another, are laid out by
   the system's script processor; it is too slow for all the others. */
class Line {
public:
    Line(HDC dc, const std::wstring& text) : dc_(dc), text_(text) {
        const int units = static_cast<int>(text.size());
        if (is_simple(text)) {
            ends_.resize(text.size());
            SIZE size{};
            GetTextExtentExPointW(dc, text.c_str(), units, 0, nullptr, ends_.data(), &size);
            return;
        }
        const int glyphs = units * 3 / 2 + 16;  // as the function's documentation advises
        if (FAILED(ScriptStringAnalyse(dc, text.c_str(), units, glyphs, -1,
                                       SSA_GLYPHS | SSA_FALLBACK | SSA_LINK, 0, nullptr, nullptr,
                                       nullptr, nullptr, nullptr, &analysis_))) {
            analysis_ = nullptr;
        }
    }
    ~Line() {
        if (analysis_) ScriptStringFree(&analysis_);
    }
    Line(const Line&) = delete;
    Line& operator=(const Line&) = delete;

    /* Nothing outside `clip`: clip regions would cost more than the letters. */
    void draw(int x, int y, const RECT& clip) const {
        if (analysis_) {
            ScriptStringOut(analysis_, x, y, ETO_CLIPPED, &clip, 0, 0, FALSE);
            return;
        }
        std::vector<int> advances(ends_);
        std::adjacent_difference(advances.begin(), advances.end(), advances.begin());
        ExtTextOutW(dc_, x, y, ETO_CLIPPED, &clip, text_.c_str(), static_cast<UINT>(text_.size()),
                    advances.empty() ? nullptr : advances.data());
    }

    bool find(const Range& range, int& left, int& right) const {
        if (!analysis_) {
            if (range.end > ends_.size()) return false;
            left = range.begin == 0 ? 0 : ends_[range.begin - 1];
            right = ends_[range.end - 1];
            return true;
        }
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
    const HDC dc_;
    const std::wstring& text_;
    std::vector<int> ends_;  // of the letters of a simple text, from its beginning
    SCRIPT_STRING_ANALYSIS analysis_ = nullptr;
};

}  // namespace

CellColors cell_colors(bool is_selected, bool list_has_focus, bool is_dark) {
    const bool is_marked = is_selected && list_has_focus;
    if (is_dark) {
        const COLORREF background = is_marked     ? dark::kSelected
                                    : is_selected ? dark::kSelectedElsewhere
                                                  : dark::kBackground;
        return {background, dark::kText, is_marked ? dark::kText : dark::kMatch};
    }
    const int back = is_marked ? COLOR_HIGHLIGHT : is_selected ? COLOR_BTNFACE : COLOR_WINDOW;
    const int front = is_marked     ? COLOR_HIGHLIGHTTEXT
                      : is_selected ? COLOR_BTNTEXT
                                    : COLOR_WINDOWTEXT;
    const COLORREF background = GetSysColor(back);
    const COLORREF text = GetSysColor(front);
    const COLORREF match =
        readable_on(background, {GetSysColor(COLOR_HOTLIGHT), GetSysColor(COLOR_HIGHLIGHT)}, text);
    return {background, text, is_marked ? text : match};
}

void paint_name(HDC dc, const RECT& cell, std::wstring text, const std::vector<Range>& matched,
                const CellColors& colors) {
    const COLORREF color_before = SetTextColor(dc, colors.text);
    const COLORREF background_before = SetBkColor(dc, colors.background);
    const int mode_before = SetBkMode(dc, TRANSPARENT);
    ExtTextOutW(dc, 0, 0, ETO_OPAQUE, &cell, L"", 0, nullptr);

    TEXTMETRICW metrics{};
    GetTextMetricsW(dc, &metrics);
    const int padding = std::max(2, static_cast<int>(metrics.tmAveCharWidth) / 3);
    const int x = cell.left + padding;
    const int y = cell.top + (cell.bottom - cell.top - metrics.tmHeight) / 2;
    const std::size_t kept = shorten(dc, text, cell.right - padding - x);
    const Line line(dc, text);
    line.draw(x, y, cell);

    // The whole text is drawn again where it matches: only so do its letters keep their shapes.
    SetTextColor(dc, colors.match);
    for (const Range& range : matched) {
        int left = 0;
        int right = 0;
        const Range visible{range.begin, std::min(range.end, kept)};
        if (visible.begin >= visible.end || !line.find(visible, left, right)) continue;
        const RECT stroke{x + left, cell.top, x + right + 1, cell.bottom};
        RECT part{};
        IntersectRect(&part, &stroke, &cell);
        ExtTextOutW(dc, 0, 0, ETO_OPAQUE, &part, L"", 0, nullptr);
        line.draw(x, y, part);
        // A second stroke beside the first makes it bold without making it wider.
        line.draw(x + 1, y, part);
    }
    SetBkMode(dc, mode_before);
    SetBkColor(dc, background_before);
    SetTextColor(dc, color_before);
}

}  // namespace window
