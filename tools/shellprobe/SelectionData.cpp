#include "tools/shellprobe/SelectionData.h"

#include <shlobj.h>

#include <atomic>
#include <cstring>
#include <utility>

#include "core/WindowsOwners.h"

namespace veskard {
namespace {

// CF_HDROP: a header, then the names one after another, each ended by a zero,
// and one zero more.
std::wstring DropList(const std::vector<std::wstring>& paths) {
  std::wstring list;
  for (const std::wstring& path : paths) list.append(path).push_back(L'\0');
  list.push_back(L'\0');
  return list;
}

HGLOBAL MakeDropMemory(const std::vector<std::wstring>& paths) {
  const std::wstring list = DropList(paths);
  const size_t listSize = list.size() * sizeof(wchar_t);
  const HGLOBAL memory = ::GlobalAlloc(GHND, sizeof(DROPFILES) + listSize);
  if (memory == nullptr) return nullptr;
  auto* const header = static_cast<DROPFILES*>(::GlobalLock(memory));
  header->pFiles = sizeof(DROPFILES);
  header->fWide = TRUE;
  std::memcpy(header + 1, list.data(), listSize);
  ::GlobalUnlock(memory);
  return memory;
}

class SelectionData final : public IDataObject {
 public:
  explicit SelectionData(std::vector<std::wstring> paths) : paths_(std::move(paths)) {}
  virtual ~SelectionData() = default;

  HRESULT WINAPI QueryInterface(REFIID iid, void** object) override {
    const bool answered = ::IsEqualIID(iid, IID_IUnknown) || ::IsEqualIID(iid, IID_IDataObject);
    *object = answered ? this : nullptr;
    if (!answered) return E_NOINTERFACE;
    AddRef();
    return S_OK;
  }
  ULONG WINAPI AddRef() override { return ++references_; }
  ULONG WINAPI Release() override {
    const ULONG left = --references_;
    if (left == 0) delete this;
    return left;
  }

  HRESULT WINAPI GetData(FORMATETC* format, STGMEDIUM* medium) override {
    const HRESULT offered = QueryGetData(format);
    if (offered != S_OK) return offered;
    *medium = {};
    medium->tymed = TYMED_HGLOBAL;
    medium->hGlobal = MakeDropMemory(paths_);
    return medium->hGlobal != nullptr ? S_OK : E_OUTOFMEMORY;
  }
  HRESULT WINAPI QueryGetData(FORMATETC* format) override {
    if (format->cfFormat != CF_HDROP) return DV_E_FORMATETC;
    if (format->dwAspect != DVASPECT_CONTENT) return DV_E_DVASPECT;
    if (format->lindex != -1) return DV_E_LINDEX;
    return (format->tymed & TYMED_HGLOBAL) != 0 ? S_OK : DV_E_TYMED;
  }
  HRESULT WINAPI EnumFormatEtc(DWORD direction, IEnumFORMATETC** formats) override {
    *formats = nullptr;
    if (direction != DATADIR_GET) return E_NOTIMPL;
    const FORMATETC only = {CF_HDROP, nullptr, DVASPECT_CONTENT, -1, TYMED_HGLOBAL};
    return ::SHCreateStdEnumFmtEtc(1, &only, formats);
  }
  HRESULT WINAPI GetCanonicalFormatEtc(FORMATETC*, FORMATETC* result) override {
    result->ptd = nullptr;
    return DATA_S_SAMEFORMATETC;
  }

  HRESULT WINAPI GetDataHere(FORMATETC*, STGMEDIUM*) override { return E_NOTIMPL; }
  HRESULT WINAPI SetData(FORMATETC*, STGMEDIUM*, BOOL) override { return E_NOTIMPL; }
  HRESULT WINAPI DAdvise(FORMATETC*, DWORD, IAdviseSink*, DWORD*) override {
    return OLE_E_ADVISENOTSUPPORTED;
  }
  HRESULT WINAPI DUnadvise(DWORD) override { return OLE_E_ADVISENOTSUPPORTED; }
  HRESULT WINAPI EnumDAdvise(IEnumSTATDATA**) override { return OLE_E_ADVISENOTSUPPORTED; }

 private:
  std::atomic<ULONG> references_ = 1;
  std::vector<std::wstring> paths_;
};

}  // namespace

UniqueCom<IDataObject> MakeSelectionData(std::vector<std::wstring> paths) {
  return UniqueCom<IDataObject>(new SelectionData(std::move(paths)));
}

}  // namespace veskard
