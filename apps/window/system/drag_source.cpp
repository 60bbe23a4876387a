#include "system/drag_source.hpp"

#include <windows.h>

#include <ole2.h>
#include <shlobj.h>

#include <new>

#include "system/drop_files.hpp"

namespace window {
namespace {

// The interfaces of COM have no virtual destructors: their objects destroy themselves.
#if defined(__GNUC__)
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"
#endif

/* Counts its owners; an object of one of the two classes below goes with its last one. */
template <typename Interface>
class Counted : public Interface {
public:
    virtual ~Counted() = default;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID wanted, void** out) override {
        if (IsEqualIID(wanted, IID_IUnknown) || IsEqualIID(wanted, __uuidof(Interface))) {
            *out = static_cast<Interface*>(this);
            AddRef();
            return S_OK;
        }
        *out = nullptr;
        return E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override {
        return static_cast<ULONG>(InterlockedIncrement(&owners_));
    }
    ULONG STDMETHODCALLTYPE Release() override {
        const LONG left = InterlockedDecrement(&owners_);
        if (left == 0) delete this;
        return static_cast<ULONG>(left);
    }

private:
    LONG owners_ = 1;
};

/* A list of files in the form that every drop target takes. */
class Files final : public Counted<IDataObject> {
public:
    explicit Files(const std::vector<std::wstring>& paths) : paths_(paths) {}

    HRESULT STDMETHODCALLTYPE QueryGetData(FORMATETC* wanted) override {
        if (wanted->cfFormat != CF_HDROP) return DV_E_FORMATETC;
        if ((wanted->tymed & TYMED_HGLOBAL) == 0) return DV_E_TYMED;
        return wanted->dwAspect == DVASPECT_CONTENT ? S_OK : DV_E_DVASPECT;
    }

    HRESULT STDMETHODCALLTYPE GetData(FORMATETC* wanted, STGMEDIUM* medium) override {
        const HRESULT known = QueryGetData(wanted);
        if (FAILED(known)) return known;
        HGLOBAL memory = drop_files(paths_);
        if (!memory) return E_OUTOFMEMORY;
        medium->tymed = TYMED_HGLOBAL;
        medium->hGlobal = memory;
        medium->pUnkForRelease = nullptr;
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE EnumFormatEtc(DWORD direction, IEnumFORMATETC** out) override {
        if (direction != DATADIR_GET) return E_NOTIMPL;
        FORMATETC form{CF_HDROP, nullptr, DVASPECT_CONTENT, -1, TYMED_HGLOBAL};
        return SHCreateStdEnumFmtEtc(1, &form, out);
    }

    HRESULT STDMETHODCALLTYPE GetDataHere(FORMATETC*, STGMEDIUM*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetCanonicalFormatEtc(FORMATETC*, FORMATETC* out) override {
        out->ptd = nullptr;
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE SetData(FORMATETC*, STGMEDIUM*, BOOL) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE DAdvise(FORMATETC*, DWORD, IAdviseSink*, DWORD*) override {
        return OLE_E_ADVISENOTSUPPORTED;
    }
    HRESULT STDMETHODCALLTYPE DUnadvise(DWORD) override { return OLE_E_ADVISENOTSUPPORTED; }
    HRESULT STDMETHODCALLTYPE EnumDAdvise(IEnumSTATDATA**) override {
        return OLE_E_ADVISENOTSUPPORTED;
    }

private:
    const std::vector<std::wstring> paths_;
};

class Hand final : public Counted<IDropSource> {
public:
    HRESULT STDMETHODCALLTYPE QueryContinueDrag(BOOL escape_pressed, DWORD keys) override {
        if (escape_pressed) return DRAGDROP_S_CANCEL;
        return (keys & (MK_LBUTTON | MK_RBUTTON)) == 0 ? DRAGDROP_S_DROP : S_OK;
    }
    HRESULT STDMETHODCALLTYPE GiveFeedback(DWORD) override { return DRAGDROP_S_USEDEFAULTCURSORS; }
};

}  // namespace

void drag_files(const std::vector<std::wstring>& paths) {
    auto* files = new Files(paths);
    auto* hand = new (std::nothrow) Hand;
    if (hand) {
        DWORD effect = 0;
        DoDragDrop(files, hand, DROPEFFECT_COPY | DROPEFFECT_LINK, &effect);
        hand->Release();
    }
    files->Release();
}

}  // namespace window
