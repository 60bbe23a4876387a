#include "system/shell_actions.hpp"

#include <shellapi.h>
#include <shlobj.h>

#include <map>
#include <memory>

#include "common/wide_text.hpp"
#include "model/error_words.hpp"
#include "model/paths.hpp"
#include "model/sentences.hpp"
#include "model/shell_paths.hpp"

namespace window {
namespace {

struct FreeIdList {
    void operator()(ITEMIDLIST* list) const { ILFree(list); }
};
using IdList = std::unique_ptr<ITEMIDLIST, FreeIdList>;

bool has_vanished(const std::string& path) {
    const std::wstring exact = app::to_wide(exact_path(path));
    if (GetFileAttributesW(exact.c_str()) != INVALID_FILE_ATTRIBUTES) return false;
    const DWORD error = GetLastError();
    return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND ||
           error == ERROR_BAD_NETPATH || error == ERROR_INVALID_DRIVE;
}

/* The system's own sentence about an error. */
std::string error_text(DWORD error, std::string_view name) {
    if (wants_a_program(error)) return "No program is set to open files of this kind.";
    wchar_t text[512];
    const DWORD length = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
                                        nullptr, error, 0, text, 512, nullptr);
    return error_words(app::to_utf8({text, length}).value_or(""), name);
}

std::string not_opened(DWORD error, std::string_view name) {
    return not_opened_sentence(std::string(name), error_text(error, name));
}

/* Why nothing can be done with it; "" when something can. */
std::string objection(const std::string& path) {
    std::string refusal = shell_refusal(path);
    if (!refusal.empty()) return refusal;
    return has_vanished(path) ? vanished_sentence(std::string(name_of(path))) : "";
}

DWORD execute(LPCITEMIDLIST item, const std::wstring& folder, const wchar_t* verb) {
    SHELLEXECUTEINFOW what{};
    what.cbSize = sizeof what;
    what.fMask = SEE_MASK_FLAG_NO_UI | SEE_MASK_IDLIST | SEE_MASK_NOASYNC;
    what.lpVerb = verb;
    what.lpIDList = const_cast<LPITEMIDLIST>(item);
    what.lpDirectory = folder.c_str();
    what.nShow = SW_SHOWNORMAL;
    return ShellExecuteExW(&what) ? NO_ERROR : GetLastError();
}

struct ReleaseObject {
    void operator()(IUnknown* object) const { object->Release(); }
};
template <typename Interface>
using Owned = std::unique_ptr<Interface, ReleaseObject>;

/* The shell's menu for one file or folder; empty when it has none. */
Owned<IContextMenu> context_menu(const std::wstring& path) {
    const IdList list(ILCreateFromPathW(path.c_str()));
    void* folder = nullptr;
    LPCITEMIDLIST child = nullptr;
    if (!list || FAILED(SHBindToParent(list.get(), __uuidof(IShellFolder), &folder, &child))) {
        return nullptr;
    }
    const Owned<IShellFolder> owned(static_cast<IShellFolder*>(folder));
    void* menu = nullptr;
    if (FAILED(owned->GetUIObjectOf(nullptr, 1, &child, __uuidof(IContextMenu), nullptr, &menu))) {
        return nullptr;
    }
    return Owned<IContextMenu>(static_cast<IContextMenu*>(menu));
}

bool select_in_folder(const std::string& folder, const std::vector<std::string>& paths) {
    const IdList parent(ILCreateFromPathW(app::native_wide(folder).c_str()));
    if (!parent) return false;
    std::vector<IdList> owned;
    std::vector<LPCITEMIDLIST> children;
    for (const std::string& path : paths) {
        owned.emplace_back(ILCreateFromPathW(app::native_wide(path).c_str()));
        if (owned.back()) children.push_back(owned.back().get());
    }
    return SUCCEEDED(SHOpenFolderAndSelectItems(parent.get(), static_cast<UINT>(children.size()),
                                                children.data(), 0));
}

}  // namespace

std::string open_result(const std::string& path) {
    std::string reason = objection(path);
    if (!reason.empty()) return reason;
    // By its place in the shell, not by its path: for the folder "tool" beside "tool.exe" a path
    // would start the program.
    LPITEMIDLIST parsed = nullptr;
    const HRESULT known =
        SHParseDisplayName(app::native_wide(path).c_str(), nullptr, &parsed, 0, nullptr);
    const IdList item(parsed);
    if (FAILED(known)) return not_opened(static_cast<DWORD>(HRESULT_CODE(known)), name_of(path));
    const std::wstring folder = app::native_wide(folder_of(path));
    DWORD error = execute(item.get(), folder, nullptr);
    if (wants_a_program(error)) error = execute(item.get(), folder, L"openas");
    const bool is_well = error == NO_ERROR || error == ERROR_CANCELLED;  // the user knows
    return is_well ? "" : not_opened(error, name_of(path));
}

std::string show_in_folder(const std::vector<std::string>& paths) {
    std::map<std::string, std::vector<std::string>> by_folder;
    std::string trouble;
    for (const std::string& path : paths) {
        std::string reason = objection(path);
        if (!reason.empty()) {
            trouble = reason;
        } else {
            by_folder[std::string(folder_of(path))].push_back(path);
        }
    }
    for (const auto& [folder, inside] : by_folder) {
        if (select_in_folder(folder, inside)) continue;
        const std::wstring arguments = L"/select,\"" + app::native_wide(inside.front()) + L"\"";
        const HINSTANCE started = ShellExecuteW(nullptr, nullptr, L"explorer.exe",
                                                arguments.c_str(), nullptr, SW_SHOWNORMAL);
        if (reinterpret_cast<INT_PTR>(started) <= 32) {
            trouble = not_opened(GetLastError(), native_path(folder));
        }
    }
    return trouble;
}

std::string show_properties(const std::string& path) {
    std::string reason = objection(path);
    if (!reason.empty()) return reason;
    const Owned<IContextMenu> menu = context_menu(app::native_wide(path));
    HMENU commands = CreatePopupMenu();  // the shell wants to fill one before it takes a command
    CMINVOKECOMMANDINFO what{};
    what.cbSize = sizeof what;
    what.lpVerb = "properties";
    what.nShow = SW_SHOWNORMAL;
    const bool is_shown = menu && SUCCEEDED(menu->QueryContextMenu(commands, 0, 1, 0x7FFF, 0)) &&
                          SUCCEEDED(menu->InvokeCommand(&what));
    DestroyMenu(commands);
    return is_shown ? "" : "\"" + std::string(name_of(path)) + "\" has no properties to show.";
}

}  // namespace window
