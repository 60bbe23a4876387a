#include "view/result_list.hpp"

#include <algorithm>
#include <iterator>
#include <utility>

#include "common/wide_text.hpp"
#include "model/appearance.hpp"
#include "model/paths.hpp"
#include "model/placement.hpp"
#include "system/dark_mode.hpp"
#include "system/locale_text.hpp"
#include "view/name_cell.hpp"

namespace window {
namespace {

constexpr const wchar_t* kTitles[kColumnCount] = {L"Name", L"Folder", L"Size", L"Modified"};

// Of a dark list, for the window procedure that sees its columns painted.
constexpr const wchar_t* kDarkProperty = L"SystemSearchDark";

/* The dark theme of the columns leaves their texts black. */
LRESULT lighten_column(NMCUSTOMDRAW& draw) {
    if (draw.dwDrawStage == CDDS_PREPAINT) return CDRF_NOTIFYITEMDRAW;
    if (draw.dwDrawStage == CDDS_ITEMPREPAINT) SetTextColor(draw.hdc, dark::kText);
    return CDRF_DODEFAULT;
}

std::optional<std::uint32_t> as_row(LRESULT index) {
    return index < 0 ? std::nullopt : std::optional(static_cast<std::uint32_t>(index));
}

}  // namespace

ResultList::ResultList(HWND parent, int id, UINT icon_message, Searches::Discard discard)
    : icons_(parent, icon_message), discard_(std::move(discard)) {
    // Without a label right before it, a list has no name for screen readers.
    CreateWindowExW(0, WC_STATICW, L"Results", WS_CHILD | WS_VISIBLE, 0, 0, 0, 0, parent, nullptr,
                    nullptr, nullptr);
    list_ = CreateWindowExW(WS_EX_CLIENTEDGE, WC_LISTVIEWW, L"Results",
                            WS_CHILD | WS_VISIBLE | WS_TABSTOP | LVS_REPORT | LVS_OWNERDATA |
                                LVS_SHOWSELALWAYS | LVS_SHAREIMAGELISTS,
                            0, 0, 0, 0, parent, reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)),
                            nullptr, nullptr);
    SetWindowSubclass(list_, on_list_message, 0, 0);
    constexpr DWORD kStyle = LVS_EX_FULLROWSELECT | LVS_EX_DOUBLEBUFFER | LVS_EX_LABELTIP;
    ListView_SetExtendedListViewStyle(list_, kStyle);
    for (int i = 0; i < static_cast<int>(kColumnCount); ++i) {
        LVCOLUMNW column{};
        column.mask = LVCF_TEXT | LVCF_SUBITEM | LVCF_FMT | LVCF_WIDTH;
        column.fmt = i == 2 ? LVCFMT_RIGHT : LVCFMT_LEFT;
        column.cx = 100;
        column.iSubItem = i;
        column.pszText = const_cast<wchar_t*>(kTitles[i]);
        SendMessageW(list_, LVM_INSERTCOLUMNW, static_cast<WPARAM>(i),
                     reinterpret_cast<LPARAM>(&column));
    }
}

/* Who clicks on a column twice within the time of a double click means two clicks, too. */
LRESULT CALLBACK ResultList::on_list_message(HWND list, UINT message, WPARAM wparam, LPARAM lparam,
                                             UINT_PTR, DWORD_PTR) {
    if (message == WM_NOTIFY) {
        auto& drawn = *reinterpret_cast<NMCUSTOMDRAW*>(lparam);
        if (drawn.hdr.code == NM_CUSTOMDRAW && GetPropW(list, kDarkProperty)) {
            return lighten_column(drawn);
        }
        const auto& header = *reinterpret_cast<const NMHEADERW*>(lparam);
        if (header.hdr.code == HDN_ITEMDBLCLICKW || header.hdr.code == HDN_ITEMDBLCLICKA) {
            NMLISTVIEW click{};
            click.hdr = {list, static_cast<UINT_PTR>(GetDlgCtrlID(list)), LVN_COLUMNCLICK};
            click.iItem = -1;
            click.iSubItem = header.iItem;
            SendMessageW(GetParent(list), WM_NOTIFY, click.hdr.idFrom,
                         reinterpret_cast<LPARAM>(&click));
        }
    }
    return DefSubclassProc(list, message, wparam, lparam);
}

void ResultList::icon_arrived(WPARAM index, LPARAM number) {
    icons_.arrived(index, number);
    InvalidateRect(list_, nullptr, FALSE);
}

ss::Result ResultList::row(std::size_t index) const {
    return index < positions_.size() ? found_[positions_[index]] : ss::Result{};
}

std::vector<std::string_view> ResultList::paths() const {
    std::vector<std::string_view> paths;
    paths.reserve(held_rows());
    for (std::size_t i = 0; i < held_rows(); ++i) paths.push_back(row(i).path);
    return paths;
}

ResultList::Kept ResultList::kept() const {
    Kept kept;
    for (int i = -1; (i = ListView_GetNextItem(list_, i, LVNI_SELECTED)) >= 0;) {
        kept.selected.push_back(static_cast<std::uint32_t>(i));
    }
    kept.focused = as_row(ListView_GetNextItem(list_, -1, LVNI_FOCUSED));
    if (count_ > 0) kept.top = as_row(ListView_GetTopIndex(list_));
    return kept;
}

void ResultList::show(Found found) {
    const std::vector<std::string_view> before = paths();
    const Kept was = kept();
    FoundRows outdated = std::exchange(found_, std::move(found.rows));
    phrasing_ = std::move(found.phrasing);
    sort();
    change_rows(before, was, found.is_new,
                std::min<std::uint32_t>(found_.total().matched, SS_MAX_RESULTS));
    discard(std::move(outdated));  // only now: `before` refers to it
}

void ResultList::close() {
    positions_.clear();
    count_ = 0;
    ListView_SetItemCountEx(list_, 0, LVSICF_NOINVALIDATEALL);
    discard(std::exchange(found_, FoundRows()));
}

void ResultList::discard(FoundRows outdated) {
    for (ss::Query& query : outdated.take_queries()) discard_(std::move(query));
}

void ResultList::sort() {
    std::vector<SortKey> keys(found_.size());
    for (std::size_t i = 0; order_.column && i < found_.size(); ++i) {
        const ss::Result result = found_[i];
        switch (*order_.column) {
            case Column::kName:
                keys[i].text = sort_key(name_of(result.path));
                break;
            case Column::kFolder:
                keys[i].text = sort_key(folder_of(result.path));
                break;
            case Column::kSize:
                if (result.size) keys[i].value = static_cast<std::int64_t>(*result.size);
                break;
            case Column::kModified:
                if (result.modified) keys[i].value = result.modified->time_since_epoch().count();
                break;
        }
    }
    positions_ = sorted_rows(keys, order_);
}

void ResultList::change_rows(const std::vector<std::string_view>& before, const Kept& was,
                             bool is_new, std::uint32_t count) {
    const std::vector<std::string_view> now = paths();
    std::vector<std::string_view> wanted;
    const auto want = [&](std::optional<std::uint32_t> row) {
        wanted.push_back(row && *row < before.size() ? before[*row] : std::string_view());
    };
    for (std::uint32_t selected : was.selected) want(selected);
    const std::size_t selected_count = wanted.size();
    want(was.focused);
    want(was.top);
    const auto found =
        is_new ? std::vector<std::optional<std::uint32_t>>(wanted.size()) : find_rows(wanted, now);
    // A row that was still empty stays where it was.
    const auto now_at = [&](std::uint32_t row, std::size_t wish) {
        if (is_new || row < before.size() || row >= count) return found[wish];
        return std::optional(row);
    };
    std::vector<std::uint32_t> selected;
    std::vector<std::string> gone;
    for (std::size_t i = 0; i < was.selected.size(); ++i) {
        if (const auto row = now_at(was.selected[i], i)) {
            selected.push_back(*row);
        } else if (!wanted[i].empty()) {
            gone.emplace_back(wanted[i]);
        }
    }
    pointed_.rows_replaced(std::move(gone), is_new);
    std::sort(selected.begin(), selected.end());
    const std::optional<std::uint32_t> focused =
        was.focused ? now_at(*was.focused, selected_count) : std::nullopt;
    // At the top of the list the user looks at what comes first, whatever that is.
    const std::uint32_t was_top = was.top.value_or(0);
    const std::uint32_t top =
        is_new || was_top == 0 ? 0 : now_at(was_top, selected_count + 1).value_or(was_top);

    is_changing_rows_ = true;
    const bool moves = selected != was.selected || focused != was.focused || top != was_top;
    if (moves) SendMessageW(list_, WM_SETREDRAW, FALSE, 0);
    if (count != count_) {
        count_ = count;
        SendMessageW(list_, LVM_SETITEMCOUNT, count, LVSICF_NOINVALIDATEALL | LVSICF_NOSCROLL);
    }
    if (selected != was.selected || focused != was.focused) select(selected, focused);
    if (count > 0) scroll_to(top);
    is_changing_rows_ = false;
    if (moves) SendMessageW(list_, WM_SETREDRAW, TRUE, 0);
    if (is_new || moves || !shows_same(before, now)) InvalidateRect(list_, nullptr, FALSE);
}

/* The rows on the screen are as they were, and only more are held below them. */
bool ResultList::shows_same(const std::vector<std::string_view>& before,
                            const std::vector<std::string_view>& now) const {
    const auto first = static_cast<std::size_t>(std::max(0, ListView_GetTopIndex(list_)));
    const std::size_t end = first + visible_rows();
    if (end > before.size() || before.size() >= now.size()) return false;
    return std::equal(before.begin() + static_cast<std::ptrdiff_t>(first),
                      before.begin() + static_cast<std::ptrdiff_t>(end),
                      now.begin() + static_cast<std::ptrdiff_t>(first));
}

void ResultList::select(const std::vector<std::uint32_t>& rows,
                        std::optional<std::uint32_t> focused) {
    ListView_SetItemState(list_, -1, 0, LVIS_SELECTED | LVIS_FOCUSED);
    for (std::uint32_t row : rows) {
        ListView_SetItemState(list_, static_cast<int>(row), LVIS_SELECTED, LVIS_SELECTED);
    }
    if (focused) {
        ListView_SetItemState(list_, static_cast<int>(*focused), LVIS_FOCUSED, LVIS_FOCUSED);
    }
}

void ResultList::scroll_to(std::uint32_t top) {
    const int from = ListView_GetTopIndex(list_);
    RECT first{};
    if (from == static_cast<int>(top) || !ListView_GetItemRect(list_, 0, &first, LVIR_BOUNDS)) {
        return;
    }
    ListView_Scroll(list_, 0, (static_cast<int>(top) - from) * (first.bottom - first.top));
}

std::uint32_t ResultList::visible_rows() const {
    constexpr std::uint32_t kSpare = 2;  // the last row may be cut
    return static_cast<std::uint32_t>(std::max(0, ListView_GetCountPerPage(list_))) + kSpare;
}

std::vector<std::string> ResultList::selected_paths() const {
    std::vector<std::string> selected;
    for (std::uint32_t index : kept().selected) {
        if (index < held_rows()) selected.emplace_back(row(index).path);
    }
    return selected;
}

std::vector<std::string> ResultList::pointed_paths(bool from_box) const {
    return pointed_.paths(selected_paths(), row(0).path, from_box);
}

std::string ResultList::twice_clicked_path(int index) const {
    const std::string_view path = index < 0 ? "" : row(static_cast<std::size_t>(index)).path;
    return std::string(pointed_.clicked_twice(path) ? path : "");
}

void ResultList::note_user(const NMHDR& header) {
    if (header.code == NM_CLICK) {
        const int index = reinterpret_cast<const NMITEMACTIVATE&>(header).iItem;
        pointed_.clicked(index < 0 ? "" : row(static_cast<std::size_t>(index)).path);
    }
    if (is_changing_rows_) return;
    if (header.code == LVN_ODSTATECHANGED) pointed_.rows_selected();
    if (header.code != LVN_ITEMCHANGED) return;
    const auto& change = reinterpret_cast<const NMLISTVIEW&>(header);
    if (((change.uNewState ^ change.uOldState) & LVIS_SELECTED) != 0) pointed_.rows_selected();
}

void ResultList::set_font(HFONT font, int dpi) {
    icon_size_ = scaled(16, dpi);
    icons_.set_size(icon_size_);
    HIMAGELIST outdated = spacer_;
    spacer_ = ImageList_Create(icon_size_, icon_size_ + scaled(2, dpi), ILC_COLOR32, 1, 1);
    SendMessageW(list_, WM_SETFONT, reinterpret_cast<WPARAM>(font), FALSE);
    ListView_SetImageList(list_, spacer_, LVSIL_SMALL);
    if (outdated) ImageList_Destroy(outdated);
    InvalidateRect(list_, nullptr, FALSE);
}

std::array<int, kColumnCount> ResultList::column_widths() const {
    std::array<int, kColumnCount> widths{};
    for (int i = 0; i < static_cast<int>(kColumnCount); ++i) {
        widths[static_cast<std::size_t>(i)] = ListView_GetColumnWidth(list_, i);
    }
    return widths;
}

void ResultList::set_column_widths(const std::array<int, kColumnCount>& pixels) {
    for (int i = 0; i < static_cast<int>(kColumnCount); ++i) {
        ListView_SetColumnWidth(list_, i, pixels[static_cast<std::size_t>(i)]);
    }
}

void ResultList::show_order() const {
    HWND header = ListView_GetHeader(list_);
    for (int i = 0; i < static_cast<int>(kColumnCount); ++i) {
        HDITEMW item{};
        item.mask = HDI_FORMAT;
        SendMessageW(header, HDM_GETITEMW, static_cast<WPARAM>(i), reinterpret_cast<LPARAM>(&item));
        item.fmt &= ~(HDF_SORTUP | HDF_SORTDOWN);
        if (order_.column == static_cast<Column>(i)) {
            item.fmt |= order_.descending ? HDF_SORTDOWN : HDF_SORTUP;
        }
        SendMessageW(header, HDM_SETITEMW, static_cast<WPARAM>(i), reinterpret_cast<LPARAM>(&item));
    }
}

void ResultList::set_dark(bool is_dark) {
    is_dark_ = is_dark;
    darken_list(list_, is_dark);
    SetPropW(list_, kDarkProperty, reinterpret_cast<HANDLE>(static_cast<INT_PTR>(is_dark)));
    icons_.set_background(is_dark ? std::optional<COLORREF>(dark::kBackground) : std::nullopt);
    InvalidateRect(list_, nullptr, TRUE);
}

void ResultList::colors_changed() {
    icons_.colors_changed();
    SendMessageW(list_, WM_SYSCOLORCHANGE, 0, 0);
    InvalidateRect(list_, nullptr, TRUE);
}

std::optional<LRESULT> ResultList::on_notify(NMHDR& header) {
    note_user(header);
    switch (header.code) {
        case LVN_GETDISPINFOW:
            fill(reinterpret_cast<NMLVDISPINFOW&>(header));
            return 0;
        case LVN_ODFINDITEMW:
            return -1;  // letters go to the search box
        case LVN_COLUMNCLICK: {
            const std::vector<std::string_view> before = paths();
            const Kept was = kept();
            order_.click(static_cast<Column>(reinterpret_cast<NMLISTVIEW&>(header).iSubItem));
            sort();
            change_rows(before, was, /*is_new=*/false, count_);
            show_order();
            return std::nullopt;  // the status bar changes, too
        }
        case NM_CUSTOMDRAW:
            return paint(reinterpret_cast<NMLVCUSTOMDRAW&>(header));
        default:
            return std::nullopt;
    }
}

void ResultList::fill(NMLVDISPINFOW& wanted) {
    if ((wanted.item.mask & LVIF_IMAGE) != 0) wanted.item.iImage = 0;
    if ((wanted.item.mask & LVIF_TEXT) == 0) return;
    const ss::Result result = row(static_cast<std::size_t>(wanted.item.iItem));
    switch (static_cast<Column>(wanted.item.iSubItem)) {
        case Column::kName:
            cell_text_ = app::to_wide(name_of(result.path));
            break;
        case Column::kFolder:
            cell_text_ = app::native_wide(folder_of(result.path));
            break;
        case Column::kSize:
            cell_text_ = result.size ? size_text(*result.size) : std::wstring();
            break;
        case Column::kModified:
            cell_text_ = result.modified
                             ? date_and_time(result.modified->time_since_epoch().count())
                             : std::wstring();
            break;
    }
    wanted.item.pszText = cell_text_.data();
}

LRESULT ResultList::paint(NMLVCUSTOMDRAW& draw) {
    switch (draw.nmcd.dwDrawStage) {
        case CDDS_PREPAINT:
            has_focus_ = GetFocus() == list_;
            return CDRF_NOTIFYITEMDRAW;
        case CDDS_ITEMPREPAINT:
            return CDRF_NOTIFYSUBITEMDRAW;
        case CDDS_SUBITEM | CDDS_ITEMPREPAINT:
            if (draw.iSubItem != 0) return is_dark_ ? darken_cell(draw) : CDRF_DODEFAULT;
            paint_first_cell(draw.nmcd.hdc, static_cast<int>(draw.nmcd.dwItemSpec));
            return CDRF_SKIPDEFAULT;
        default:
            return CDRF_DODEFAULT;
    }
}

/* The system would mark a selected row in the colours of its light theme: it gets a plain row in
   ours. */
LRESULT ResultList::darken_cell(NMLVCUSTOMDRAW& draw) const {
    const int index = static_cast<int>(draw.nmcd.dwItemSpec);
    const bool is_selected = ListView_GetItemState(list_, index, LVIS_SELECTED) != 0;
    const CellColors colors = cell_colors(is_selected, has_focus_, is_dark_);
    draw.nmcd.uItemState &= ~static_cast<UINT>(CDIS_SELECTED);
    draw.clrText = colors.text;
    draw.clrTextBk = colors.background;
    return CDRF_NEWFONT;
}

void ResultList::paint_first_cell(HDC dc, int index) {
    const ss::Result result = row(static_cast<std::size_t>(index));
    const std::string_view name = name_of(result.path);
    const bool is_held = !result.path.empty();
    const bool is_selected = ListView_GetItemState(list_, index, LVIS_SELECTED) != 0;
    const CellColors colors = cell_colors(is_selected, has_focus_, is_dark_);

    RECT icon{};
    RECT cell{};
    ListView_GetItemRect(list_, index, &icon, LVIR_ICON);
    // The name's own rectangle would cost more: the list measures the text for it.
    ListView_GetItemRect(list_, index, &cell, LVIR_BOUNDS);
    cell.right = cell.left + ListView_GetColumnWidth(list_, 0);
    const RECT label{std::min(icon.right, cell.right), cell.top, cell.right, cell.bottom};
    const int left = static_cast<int>(icon.left + (icon.right - icon.left - icon_size_) / 2);
    const int top = static_cast<int>(icon.top + (icon.bottom - icon.top - icon_size_) / 2);
    if (is_held) {
        // A column may be narrower than an icon.
        icons_.draw(dc, left, top, static_cast<int>(cell.right) - left, name,
                    result.kind == ss::Kind::kFolder);
    }
    const std::vector<Range> matched = in_utf16(highlight(result.path, phrasing_), name);
    paint_name(dc, label, app::to_wide(name), matched, colors);
}

}  // namespace window
