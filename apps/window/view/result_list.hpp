/* The list of results: a virtual list view that reads its texts from the query it shows. */
#pragma once

#include <windows.h>

#include <commctrl.h>

#include <array>
#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "model/pointed.hpp"
#include "model/rows.hpp"
#include "model/searches.hpp"
#include "model/settings.hpp"
#include "system/icons.hpp"

namespace window {

class ResultList {
public:
    /* `icon_message` comes back to `parent`, for icon_arrived(). */
    ResultList(HWND parent, int id, UINT icon_message, Searches::Discard discard);

    HWND handle() const { return list_; }

    /* The icons of the system take long to open: after the window is up. */
    void open_icons() {
        icons_.open(icon_size_);
        InvalidateRect(list_, nullptr, FALSE);
    }
    void icon_arrived(WPARAM index, LPARAM number);

    /* Shows another answer. Selection and scroll position stay with their rows unless the
       question is a new one. */
    void show(Found found);
    /* Nothing any more: before the library goes. */
    void close();
    bool close_icons(std::chrono::milliseconds patience) { return icons_.close(patience); }

    /* Rows that fit into the list. */
    std::uint32_t visible_rows() const;
    const Order& order() const { return order_; }

    /* In the order of the rows; the paths of the library. */
    std::vector<std::string> selected_paths() const;
    /* What is meant by a key or a menu: see Pointed. */
    std::vector<std::string> pointed_paths(bool from_box) const;
    /* The row under a double click; "" when it was another one at the first click. */
    std::string twice_clicked_path(int index) const;
    Pointed& pointed() { return pointed_; }

    void set_font(HFONT font, int dpi);
    std::array<int, kColumnCount> column_widths() const;  // in pixels
    void set_column_widths(const std::array<int, kColumnCount>& pixels);

    /* Answers what the list tells its parent; nothing when that is for the parent. */
    std::optional<LRESULT> on_notify(NMHDR& header);
    void colors_changed();
    /* Dark or light, as the user has set it. */
    void set_dark(bool is_dark);

private:
    static LRESULT CALLBACK on_list_message(HWND list, UINT message, WPARAM wparam, LPARAM lparam,
                                            UINT_PTR, DWORD_PTR);
    struct Kept {
        std::vector<std::uint32_t> selected;
        std::optional<std::uint32_t> focused;
        std::optional<std::uint32_t> top;
    };
    ss::Result row(std::size_t index) const;
    void discard(FoundRows outdated);
    std::size_t held_rows() const { return positions_.size(); }
    std::vector<std::string_view> paths() const;
    Kept kept() const;
    void sort();
    void note_user(const NMHDR& header);
    void change_rows(const std::vector<std::string_view>& before, const Kept& was, bool is_new,
                     std::uint32_t count);
    bool shows_same(const std::vector<std::string_view>& before,
                    const std::vector<std::string_view>& now) const;
    void select(const std::vector<std::uint32_t>& rows, std::optional<std::uint32_t> focused);
    void scroll_to(std::uint32_t top);
    void show_order() const;
    void fill(NMLVDISPINFOW& wanted);
    LRESULT paint(NMLVCUSTOMDRAW& draw);
    LRESULT darken_cell(NMLVCUSTOMDRAW& draw) const;
    void paint_first_cell(HDC dc, int index);

    HWND list_ = nullptr;
    Icons icons_;
    const Searches::Discard discard_;
    FoundRows found_;  // what the rows are read from
    Phrasing phrasing_;
    Pointed pointed_;
    bool is_changing_rows_ = false;  // what the list tells meanwhile is not the user's doing
    Order order_;
    std::vector<std::uint32_t> positions_;  // of the rows' results
    // As many rows as there will be when the thousand are here; those that are not yet held are
    // empty for that moment, so that the scroll bar neither jumps nor is drawn twice.
    std::uint32_t count_ = 0;
    HIMAGELIST spacer_ = nullptr;  // makes room for icons; they are painted here
    int icon_size_ = 16;
    bool is_dark_ = false;
    bool has_focus_ = false;  // asked once for all rows that are painted
    std::wstring cell_text_;  // of the cell that was asked for last
};

}  // namespace window
