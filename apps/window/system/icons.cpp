#include "system/icons.hpp"

#include <shellapi.h>
#include <shlobj.h>

#include <algorithm>

#include "common/wide_text.hpp"
#include "model/paths.hpp"

namespace window {
namespace {

constexpr const char* kFolder = "/";
constexpr const char* kAnyFile = "";
constexpr std::size_t kMaxKinds = 2000;  // a disk may hold any number of extensions

/* The list with the smallest icons that need not be enlarged; it stays the system's. */
IImageList* list_for(int size) {
    for (int which : {SHIL_SMALL, SHIL_LARGE, SHIL_EXTRALARGE}) {
        IImageList* list = nullptr;
        if (FAILED(SHGetImageList(which, __uuidof(IImageList), reinterpret_cast<void**>(&list)))) {
            continue;
        }
        int width = 0;
        int height = 0;
        list->GetIconSize(&width, &height);
        if (width >= size || which == SHIL_EXTRALARGE) return list;
        list->Release();
    }
    return nullptr;
}

}  // namespace

void Icons::open(int size) {
    thread_ = std::make_unique<ShellThread>();
    set_size(size);
    index_of("folder", /*is_folder=*/true);
    index_of("file", /*is_folder=*/false);
}

bool Icons::close(std::chrono::milliseconds patience) {
    return !thread_ || thread_->close(patience);
}

void Icons::ask(const std::wstring& name, DWORD attributes, LPARAM number) {
    thread_->post([=, owner = owner_, message = message_] {
        SHFILEINFOW answer{};
        if (SHGetFileInfoW(name.c_str(), attributes, &answer, sizeof answer,
                           SHGFI_USEFILEATTRIBUTES | SHGFI_SYSICONINDEX | SHGFI_SMALLICON)) {
            PostMessageW(owner, message, static_cast<WPARAM>(answer.iIcon), number);
        }
    });
}

void Icons::arrived(WPARAM index, LPARAM number) {
    for (auto& [kind, icon] : icons_) {
        if (icon.number == number) icon.index = static_cast<int>(index);
    }
}

int Icons::index_of(std::string_view name, bool is_folder) {
    if (!thread_) return -1;
    std::string kind = is_folder ? kFolder : std::string(extension_of(name));
    for (char& sign : kind) {
        if (sign >= 'A' && sign <= 'Z') sign = static_cast<char>(sign | 0x20);
    }
    const auto known = icons_.find(kind);
    if (known != icons_.end()) {
        if (known->second.index >= 0 || is_folder) return known->second.index;
        return icons_[kAnyFile].index;
    }
    if (icons_.size() >= kMaxKinds) return icons_[kAnyFile].index;
    const auto number = static_cast<LPARAM>(icons_.size() + 1);
    icons_[kind].number = number;
    ask(L"x" + (is_folder ? std::wstring() : app::to_wide(kind)),
        is_folder ? FILE_ATTRIBUTE_DIRECTORY : FILE_ATTRIBUTE_NORMAL, number);
    return is_folder ? -1 : icons_[kAnyFile].index;
}

void Icons::set_size(int size) {
    if (!thread_) return;  // the lists take long to open, too
    forget_copies();
    size_ = size;
    if (list_) list_->Release();
    list_ = list_for(size);
}

Icons::~Icons() {
    forget_copies();
    if (list_) list_->Release();
}

void Icons::forget_copies() {
    if (memory_) DeleteDC(memory_);
    memory_ = nullptr;
    for (const auto& [index, copy] : copies_) DeleteObject(copy);
    copies_.clear();
}

/* Selects the copy into memory_; draws it first when there is none yet. */
void Icons::select_copy(HDC dc, int index) {
    if (!memory_) memory_ = CreateCompatibleDC(dc);
    const auto known = copies_.find(index);
    if (known != copies_.end()) {
        SelectObject(memory_, known->second);
        return;
    }
    HBITMAP copy = CreateCompatibleBitmap(dc, size_, size_);
    copies_[index] = copy;
    SelectObject(memory_, copy);
    const RECT all{0, 0, size_, size_};
    SetBkColor(memory_, background_.value_or(GetSysColor(COLOR_WINDOW)));
    ExtTextOutW(memory_, 0, 0, ETO_OPAQUE, &all, L"", 0, nullptr);
    IMAGELISTDRAWPARAMS how{};
    how.cbSize = sizeof how;
    how.himl = IImageListToHIMAGELIST(list_);
    how.i = index;
    how.hdcDst = memory_;
    how.cx = size_;
    how.cy = size_;
    how.rgbBk = CLR_NONE;
    how.rgbFg = CLR_DEFAULT;
    int width = 0;
    int height = 0;
    list_->GetIconSize(&width, &height);
    how.fStyle = ILD_TRANSPARENT | (width == size_ ? 0u : static_cast<UINT>(ILD_SCALE));
    list_->Draw(&how);
}

void Icons::draw(HDC dc, int x, int y, int room, std::string_view name, bool is_folder) {
    const int index = index_of(name, is_folder);
    if (index < 0 || !list_) return;
    select_copy(dc, index);
    BitBlt(dc, x, y, std::min(size_, room), size_, memory_, 0, 0, SRCCOPY);
}

}  // namespace window
