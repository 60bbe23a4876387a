#include "system/screens.hpp"

#include <shellscalingapi.h>

#include <algorithm>
#include <string_view>

#include "model/beside.hpp"

namespace window {
namespace {

Box box_of(const RECT& rectangle) {
    return {static_cast<int>(rectangle.left), static_cast<int>(rectangle.top),
            static_cast<int>(rectangle.right), static_cast<int>(rectangle.bottom)};
}

BOOL CALLBACK add_screen(HMONITOR monitor, HDC, RECT*, LPARAM parameter) {
    auto& screens = *reinterpret_cast<std::vector<Screen>*>(parameter);
    MONITORINFO about{};
    about.cbSize = sizeof about;
    if (!GetMonitorInfoW(monitor, &about)) return TRUE;
    UINT dpi = 96;
    UINT same = 96;
    GetDpiForMonitor(monitor, MDT_EFFECTIVE_DPI, &dpi, &same);
    const Screen screen{box_of(about.rcWork), static_cast<int>(dpi)};
    const bool is_main = (about.dwFlags & MONITORINFOF_PRIMARY) != 0;
    screens.insert(is_main ? screens.begin() : screens.end(), screen);
    return TRUE;
}

struct Others {
    const wchar_t* window_class;
    std::vector<Box> boxes;
};

BOOL CALLBACK add_other(HWND window, LPARAM parameter) {
    auto& others = *reinterpret_cast<Others*>(parameter);
    wchar_t name[64] = {};
    GetClassNameW(window, name, 64);
    if (!IsWindowVisible(window) || std::wstring_view(name) != others.window_class) return TRUE;
    RECT rectangle{};
    GetWindowRect(window, &rectangle);
    others.boxes.push_back(box_of(rectangle));
    return TRUE;
}

}  // namespace

Box free_place(const wchar_t* window_class, const Placement& wanted) {
    const std::vector<Screen> screens = all_screens();
    const Box box = place(wanted, screens);
    Others others{window_class, {}};
    EnumWindows(add_other, reinterpret_cast<LPARAM>(&others));
    const auto holds_it = [&](const Screen& screen) {
        return box.left >= screen.work.left && box.left < screen.work.right &&
               box.top >= screen.work.top && box.top < screen.work.bottom;
    };
    const auto on = std::find_if(screens.begin(), screens.end(), holds_it);
    const Screen& screen = on == screens.end() ? screens.front() : *on;
    constexpr int kStep = 32;
    return beside(box, others.boxes, screen.work, scaled(kStep, screen.dpi));
}

std::vector<Screen> all_screens() {
    std::vector<Screen> screens;
    EnumDisplayMonitors(nullptr, nullptr, add_screen, reinterpret_cast<LPARAM>(&screens));
    if (screens.empty()) screens.push_back({{0, 0, 1024, 768}, 96});
    return screens;
}

Placement default_placement() {
    constexpr int kWidth = 900;
    constexpr int kHeight = 600;
    const Screen main = all_screens().front();
    const int width = scaled(kWidth, main.dpi);
    const int height = scaled(kHeight, main.dpi);
    const int left = main.work.left + (main.work.width() - width) / 2;
    const int top = main.work.top + (main.work.height() - height) / 2;
    return {{left, top, left + width, top + height}, main.dpi, false};
}

Placement placement_of(HWND window, int dpi) {
    WINDOWPLACEMENT placement{};
    placement.length = sizeof placement;
    GetWindowPlacement(window, &placement);
    // It counts from the corner of the work area, not of the screen.
    MONITORINFO about{};
    about.cbSize = sizeof about;
    GetMonitorInfoW(MonitorFromWindow(window, MONITOR_DEFAULTTONEAREST), &about);
    RECT normal = placement.rcNormalPosition;
    OffsetRect(&normal, static_cast<int>(about.rcWork.left - about.rcMonitor.left),
               static_cast<int>(about.rcWork.top - about.rcMonitor.top));
    return {box_of(normal), dpi, IsZoomed(window) != FALSE};
}

}  // namespace window
