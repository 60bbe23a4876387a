/* The status bar: about the results, about the index, about what was skipped. */
#pragma once

#include <windows.h>

#include <array>
#include <string>

namespace window {

class StatusBar {
public:
    enum Part { kResults, kIndex, kSkipped, kPartCount };

    StatusBar(HWND parent, int id);

    HWND handle() const { return bar_; }
    int height() const;

    void set_text(Part part, const std::string& text);
    void set_font(HFONT font);
    /* Tells screen readers that the results' sentence is another one. */
    void announce() const;
    /* Divides the bar anew: after its width or font has changed. */
    void divide();

private:
    int width_of(const std::wstring& text) const;

    HWND bar_ = nullptr;
    std::array<std::wstring, kPartCount> texts_;
};

}  // namespace window
