/* Where the window opens: where it was, as far as there still is a screen. */
#pragma once

#include <vector>

namespace window {

/* Pixels of the desktop; `right` and `bottom` are the first ones outside. */
struct Box {
    int left = 0;
    int top = 0;
    int right = 0;
    int bottom = 0;

    int width() const { return right - left; }
    int height() const { return bottom - top; }
    friend bool operator==(const Box&, const Box&) = default;
};

struct Placement {
    Box box;       // when neither maximized nor minimized
    int dpi = 96;  // of the screen that it was on
    bool maximized = false;

    friend bool operator==(const Placement&, const Placement&) = default;
};

/* A screen without its task bar. The first of several is the main one. */
struct Screen {
    Box work;
    int dpi = 96;
};

/* The box for a window that was at `wanted`: on the screen that shows most of it, sized for that
   screen's dots, moved and shrunk until all of it is visible. In the middle of the main screen
   when no screen shows any of it. `screens` must not be empty. */
Box place(const Placement& wanted, const std::vector<Screen>& screens);

/* A length for 96 dots per inch in the pixels of `dpi`, rounded. */
int scaled(int length, int dpi);
int unscaled(int length, int dpi);

}  // namespace window
