#include "drop_target.hpp"

#include <ole2.h>
#include <shellapi.h>

namespace {

SRWLOCK lock = SRWLOCK_INIT;
std::vector<std::wstring> dropped;  // guarded by `lock`
LONG hovered;
HANDLE opened;

// The system's interfaces have no destructors, and this object is never destroyed.
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"
class FilesWanted final : public IDropTarget {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID wanted, void** out) override {
        const bool known = IsEqualIID(wanted, IID_IUnknown) || IsEqualIID(wanted, IID_IDropTarget);
        *out = known ? this : nullptr;
        return known ? S_OK : E_NOINTERFACE;
    }
    // Lives as long as the probe.
    ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }

    HRESULT STDMETHODCALLTYPE DragEnter(IDataObject*, DWORD, POINTL, DWORD* effect) override {
        InterlockedExchange(&hovered, 1);
        *effect &= DROPEFFECT_COPY;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE DragOver(DWORD, POINTL, DWORD* effect) override {
        *effect &= DROPEFFECT_COPY;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE DragLeave() override { return S_OK; }
    HRESULT STDMETHODCALLTYPE Drop(IDataObject* data, DWORD, POINTL, DWORD* effect) override {
        FORMATETC files{CF_HDROP, nullptr, DVASPECT_CONTENT, -1, TYMED_HGLOBAL};
        STGMEDIUM medium{};
        *effect &= DROPEFFECT_COPY;
        if (FAILED(data->GetData(&files, &medium))) return E_FAIL;
        auto* const list = static_cast<HDROP>(medium.hGlobal);
        AcquireSRWLockExclusive(&lock);
        dropped.clear();
        const UINT count = DragQueryFileW(list, 0xFFFFFFFF, nullptr, 0);
        for (UINT i = 0; i < count; ++i) {
            std::wstring path(DragQueryFileW(list, i, nullptr, 0) + 1, L'\0');
            DragQueryFileW(list, i, path.data(), static_cast<UINT>(path.size()));
            path.pop_back();
            dropped.push_back(path);
        }
        ReleaseSRWLockExclusive(&lock);
        ReleaseStgMedium(&medium);
        return S_OK;
    }
};

DWORD WINAPI show(void* parameter) {
    static FilesWanted target;
    const RECT place = *static_cast<RECT*>(parameter);
    OleInitialize(nullptr);
    HWND const window = CreateWindowExW(
        WS_EX_TOPMOST | WS_EX_NOACTIVATE | WS_EX_TOOLWINDOW, L"STATIC", L"Drop target",
        WS_POPUP | WS_BORDER, place.left, place.top, place.right - place.left,
        place.bottom - place.top, nullptr, nullptr, nullptr, nullptr);
    RegisterDragDrop(window, &target);
    ShowWindow(window, SW_SHOWNOACTIVATE);
    UpdateWindow(window);
    SetEvent(opened);
    MSG message;
    while (GetMessageW(&message, nullptr, 0, 0) > 0) DispatchMessageW(&message);
    return 0;
}

}  // namespace

void open_drop_target(const RECT& place) {
    opened = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    RECT wanted = place;
    CloseHandle(CreateThread(nullptr, 0, show, &wanted, 0, nullptr));
    WaitForSingleObject(opened, INFINITE);
}

bool was_dragged_over() {
    return InterlockedCompareExchange(&hovered, 0, 0) != 0;
}

std::vector<std::wstring> dropped_files() {
    AcquireSRWLockShared(&lock);
    std::vector<std::wstring> copy = dropped;
    ReleaseSRWLockShared(&lock);
    return copy;
}
