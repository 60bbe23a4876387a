#include "system/clipboard.hpp"

#include <ole2.h>
#include <shlobj.h>

#include <cstring>

#include "model/sentences.hpp"
#include "system/drop_files.hpp"

namespace window {
namespace {

constexpr const char* kHeldSentence = "Another program holds the clipboard: nothing was copied.";

/* One form of what is copied. The clipboard takes the memory over. */
struct Form {
    UINT format;
    HGLOBAL memory;
};

HGLOBAL memory_with(const void* bytes, std::size_t size) {
    HGLOBAL memory = GlobalAlloc(GMEM_MOVEABLE, size);
    if (!memory) return nullptr;
    std::memcpy(GlobalLock(memory), bytes, size);
    GlobalUnlock(memory);
    return memory;
}

HGLOBAL text_of(const std::vector<std::wstring>& lines) {
    std::wstring text;
    for (const std::wstring& line : lines) {
        if (!text.empty()) text += L"\r\n";
        text += line;
    }
    return memory_with(text.c_str(), (text.size() + 1) * sizeof(wchar_t));
}

/* Others hold the clipboard for a moment, too: whenever it has changed they look what it holds. */
bool open_clipboard(HWND owner) {
    constexpr int kTimes = 20;
    constexpr DWORD kPauseMilliseconds = 25;
    for (int more = kTimes; !OpenClipboard(owner); Sleep(kPauseMilliseconds)) {
        if (--more == 0) return false;
    }
    return true;
}

void free_all(const std::vector<Form>& forms) {
    for (const Form& form : forms) {
        if (form.memory) GlobalFree(form.memory);
    }
}

std::string copy(HWND owner, const std::vector<Form>& forms) {
    for (const Form& form : forms) {
        if (form.memory) continue;
        free_all(forms);
        return kNoMemorySentence;
    }
    if (!open_clipboard(owner)) {
        free_all(forms);
        return kHeldSentence;
    }
    EmptyClipboard();
    bool are_taken = true;
    for (const Form& form : forms) {
        if (SetClipboardData(form.format, form.memory)) continue;
        GlobalFree(form.memory);
        are_taken = false;
    }
    CloseClipboard();
    return are_taken ? "" : kHeldSentence;
}

}  // namespace

std::string copy_lines(HWND owner, const std::vector<std::wstring>& lines) {
    return copy(owner, {{CF_UNICODETEXT, text_of(lines)}});
}

std::string copy_files(HWND owner, const std::vector<std::wstring>& files,
                       const std::vector<std::wstring>& lines) {
    if (files.empty()) return copy_lines(owner, lines);
    constexpr DWORD kEffect = DROPEFFECT_COPY;  // pasting leaves the files where they are
    return copy(owner, {{CF_UNICODETEXT, text_of(lines)},
                        {CF_HDROP, drop_files(files)},
                        {RegisterClipboardFormatW(CFSTR_PREFERREDDROPEFFECT),
                         memory_with(&kEffect, sizeof kEffect)}});
}

}  // namespace window
