/* The controls above the list: what to look for, where, and how. */
#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <vector>

#include "model/search_plan.hpp"
#include "model/settings.hpp"

namespace window {

/* The control ids of the window. */
enum Id : int {
    kBoxId = 1001,
    kListId = 1002,
    kStatusId = 1003,
    kScopeId = 1004,
    kKindId = 1005,
    kCaseId = 1006,
    kPathId = 1007,
    kFolderId = 1008,
};

class SearchBar {
public:
    SearchBar(HWND parent, const Settings& settings);

    HWND box() const { return box_; }
    bool has_open_choice() const;  // one of the two lists is dropped down

    /* What the controls say now; nothing while the box holds half of a character. */
    std::optional<Question> question() const;
    /* The scope that is chosen: one of the settings' last ones, or "". */
    std::string scope(const Settings& settings) const;

    /* Lists the scopes of the settings, with the one in use chosen. */
    void fill_scopes(const Settings& settings);
    void empty_box();
    /* Up to the caret, or what is selected; one step to be undone. */
    void delete_word();

    void set_font(HFONT font, int dpi);
    /* Places the controls in a window of this width; returns the height they take. */
    int layout(int width);
    int least_width() const;

private:
    HWND label(const wchar_t* text) const;
    HWND control(const wchar_t* window_class, const wchar_t* text, DWORD style, int id) const;
    int text_width(const wchar_t* text) const;
    int text_height() const;

    HWND parent_;
    HWND box_label_ = nullptr;
    HWND box_ = nullptr;
    HWND scope_label_ = nullptr;
    HWND scope_ = nullptr;
    HWND folder_ = nullptr;
    HWND kind_label_ = nullptr;
    HWND kind_ = nullptr;
    HWND case_ = nullptr;
    HWND path_ = nullptr;
    HFONT font_ = nullptr;
    int dpi_ = 96;
};

}  // namespace window
