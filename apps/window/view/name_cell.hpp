/* Paints the cell with a result's name, the matched part of it in another colour. */
#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "model/highlight.hpp"

namespace window {

struct CellColors {
    COLORREF background;
    COLORREF text;
    COLORREF match;
};

/* The system's colours for a row, which follow high-contrast themes by themselves; or the dark
   ones, of which the system tells none. */
CellColors cell_colors(bool is_selected, bool list_has_focus, bool is_dark);

/* `matched` is counted in UTF-16 units. Uses the font of `dc`; what does not fit is cut with an
   ellipsis. */
void paint_name(HDC dc, const RECT& cell, std::wstring text, const std::vector<Range>& matched,
                const CellColors& colors);

}  // namespace window
