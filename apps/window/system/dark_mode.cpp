#include "system/dark_mode.hpp"

#include <commctrl.h>
#include <dwmapi.h>
#include <uxtheme.h>

#include "model/appearance.hpp"

namespace window {
namespace {

std::optional<std::uint32_t> apps_use_light_theme() {
    DWORD value = 0;
    DWORD size = sizeof value;
    const LSTATUS error = RegGetValueW(
        HKEY_CURRENT_USER, L"Software\\Microsoft\\Windows\\CurrentVersion\\Themes\\Personalize",
        L"AppsUseLightTheme", RRF_RT_REG_DWORD, nullptr, &value, &size);
    return error == ERROR_SUCCESS ? std::optional<std::uint32_t>(value) : std::nullopt;
}

bool has_contrast_theme() {
    HIGHCONTRASTW contrast{};
    contrast.cbSize = sizeof contrast;
    return SystemParametersInfoW(SPI_GETHIGHCONTRAST, sizeof contrast, &contrast, 0) &&
           (contrast.dwFlags & HCF_HIGHCONTRASTON) != 0;
}

}  // namespace

bool system_is_dark() {
    return wants_dark(apps_use_light_theme(), has_contrast_theme());
}

void darken_title(HWND window, bool is_dark) {
    constexpr DWORD kImmersiveDarkMode = 20;  // 19 before Windows 10 2004
    const BOOL value = is_dark ? TRUE : FALSE;
    if (FAILED(DwmSetWindowAttribute(window, kImmersiveDarkMode, &value, sizeof value))) {
        DwmSetWindowAttribute(window, kImmersiveDarkMode - 1, &value, sizeof value);
    }
}

void darken_list(HWND list, bool is_dark) {
    SetWindowTheme(list, is_dark ? L"DarkMode_Explorer" : nullptr, nullptr);
    SetWindowTheme(ListView_GetHeader(list), is_dark ? L"DarkMode_ItemsView" : nullptr, nullptr);
    const COLORREF background = is_dark ? dark::kBackground : CLR_DEFAULT;
    const COLORREF text = is_dark ? dark::kText : CLR_DEFAULT;
    ListView_SetBkColor(list, is_dark ? background : GetSysColor(COLOR_WINDOW));
    ListView_SetTextBkColor(list, is_dark ? background : GetSysColor(COLOR_WINDOW));
    ListView_SetTextColor(list, is_dark ? text : GetSysColor(COLOR_WINDOWTEXT));
}

}  // namespace window
