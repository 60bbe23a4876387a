#include "system/folder_picker.hpp"

#include <objbase.h>
#include <shobjidl.h>

#include <memory>

#include "common/wide_text.hpp"
#include "model/paths.hpp"

namespace window {
namespace {

struct ReleaseObject {
    void operator()(IUnknown* object) const { object->Release(); }
};
template <typename Interface>
using Owned = std::unique_ptr<Interface, ReleaseObject>;

Owned<IFileOpenDialog> make_dialog() {
    void* dialog = nullptr;
    CoCreateInstance(CLSID_FileOpenDialog, nullptr, CLSCTX_INPROC_SERVER, __uuidof(IFileOpenDialog),
                     &dialog);
    return Owned<IFileOpenDialog>(static_cast<IFileOpenDialog*>(dialog));
}

void start_at(IFileOpenDialog& dialog, const std::string& folder) {
    void* item = nullptr;
    if (folder.empty() ||
        FAILED(SHCreateItemFromParsingName(app::native_wide(folder).c_str(), nullptr,
                                           __uuidof(IShellItem), &item))) {
        return;
    }
    const Owned<IShellItem> owned(static_cast<IShellItem*>(item));
    dialog.SetFolder(owned.get());
}

}  // namespace

std::string choose_folder(HWND owner, const std::string& first) {
    const Owned<IFileOpenDialog> dialog = make_dialog();
    if (!dialog) return "";
    dialog->SetOptions(FOS_PICKFOLDERS | FOS_FORCEFILESYSTEM);
    dialog->SetTitle(L"Search in this folder");
    start_at(*dialog, first);
    IShellItem* chosen = nullptr;
    if (FAILED(dialog->Show(owner)) || FAILED(dialog->GetResult(&chosen))) return "";
    const Owned<IShellItem> owned(chosen);
    PWSTR path = nullptr;
    if (FAILED(chosen->GetDisplayName(SIGDN_FILESYSPATH, &path))) return "";
    std::string folder = normal_scope(app::to_utf8(path).value_or(""));
    CoTaskMemFree(path);
    return folder;
}

}  // namespace window
