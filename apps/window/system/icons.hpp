/* The system's icons by kind and extension, asked without touching the file, on a thread of their
 * own: the first question about a kind of file can take the system long. */
#pragma once

#include <windows.h>

#include <commctrl.h>
#include <commoncontrols.h>

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "system/shell_thread.hpp"

namespace window {

class Icons {
public:
    /* `owner` receives `message` with an index and a number, for arrived(). */
    Icons(HWND owner, UINT message) : owner_(owner), message_(message) {}
    ~Icons();
    Icons(const Icons&) = delete;
    Icons& operator=(const Icons&) = delete;

    /* Starts asking, for icons of `size` pixels. Before it, nothing is drawn. */
    void open(int size);
    /* Ends the asking; waits for it no longer than this. */
    bool close(std::chrono::milliseconds patience);
    void set_size(int size);
    void colors_changed() { forget_copies(); }
    /* The system's colour of windows when there is none. */
    void set_background(std::optional<COLORREF> color) {
        background_ = color;
        forget_copies();
    }
    void arrived(WPARAM index, LPARAM number);

    /* No wider than `room`. */
    void draw(HDC dc, int x, int y, int room, std::string_view name, bool is_folder);

private:
    struct Icon {
        int index = -1;  // in the system's image lists; negative until it is known
        LPARAM number = 0;
    };
    int index_of(std::string_view name, bool is_folder);
    void select_copy(HDC dc, int index);
    void forget_copies();
    void ask(const std::wstring& name, DWORD attributes, LPARAM number);

    const HWND owner_;
    const UINT message_;
    std::map<std::string, Icon, std::less<>> icons_;  // "/" is the folder's, "" any file's
    IImageList* list_ = nullptr;                      // the system's, of the size that fits best
    // Blending each icon with the background of its row takes longer than all else in the row, and
    // so does a device context made anew for it. So both are done once: copies of the icons on the
    // window's colour, without transparency, and what they are copied from.
    std::map<int, HBITMAP> copies_;  // by the system's index
    HDC memory_ = nullptr;
    std::optional<COLORREF> background_;
    int size_ = 16;
    std::unique_ptr<ShellThread> thread_;
};

}  // namespace window
