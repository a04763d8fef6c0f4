#include "tests/support/DropData.h"

// DROPFILES needs the rest of the shell's types.
#include <shlobj.h>

#include <cstring>
#include <utility>

namespace veskard::test {
namespace {

// The "release me instead" of one list: frees the list when the holder lets go, which
// may be after the data object is gone.
class ListKeeper final : public IUnknown {
 public:
  ListKeeper(HGLOBAL list, std::shared_ptr<std::atomic<int>> inUse) : list_(list), inUse_(std::move(inUse)) {
    ++*inUse_;
  }

  STDMETHODIMP QueryInterface(REFIID, void** ppv) override {
    *ppv = nullptr;
    return E_NOINTERFACE;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
  STDMETHODIMP_(ULONG) Release() override {
    const ULONG left = --references_;
    if (left == 0) {
      ::GlobalFree(list_);
      --*inUse_;
      delete this;
    }
    return left;
  }

 private:
  ULONG references_ = 1;
  HGLOBAL list_;
  std::shared_ptr<std::atomic<int>> inUse_;
};

}  // namespace

HGLOBAL NewDropList(const std::vector<std::wstring>& paths) {
  std::wstring names;
  for (const std::wstring& path : paths) names += path + L'\0';
  names += L'\0';
  const size_t bytes = names.size() * sizeof(wchar_t);
  const HGLOBAL memory = ::GlobalAlloc(GHND, sizeof(DROPFILES) + bytes);
  auto* const drop = static_cast<DROPFILES*>(::GlobalLock(memory));
  drop->pFiles = sizeof(DROPFILES);
  drop->fWide = TRUE;
  std::memcpy(drop + 1, names.data(), bytes);
  ::GlobalUnlock(memory);
  return memory;
}

STDMETHODIMP FakeDataObject::QueryInterface(REFIID riid, void** ppv) {
  *ppv = nullptr;
  if (riid != IID_IUnknown && riid != IID_IDataObject) return E_NOINTERFACE;
  *ppv = static_cast<IDataObject*>(this);
  AddRef();
  return S_OK;
}

STDMETHODIMP_(ULONG) FakeDataObject::Release() {
  const ULONG left = --references_;
  if (left == 0 && atLastRelease_) atLastRelease_();
  return left;
}

STDMETHODIMP FakeDataObject::GetData(FORMATETC* format, STGMEDIUM* medium) {
  lastFormat_ = *format;
  if (const auto action = std::exchange(beforeAnswer_, nullptr)) action();
  if (answersInstead_) {
    *medium = medium_;
    return result_;
  }
  medium->tymed = TYMED_HGLOBAL;
  medium->hGlobal = NewDropList(paths_);
  medium->pUnkForRelease = new ListKeeper(medium->hGlobal, inUse_);
  ++given_;
  return S_OK;
}

}  // namespace veskard::test
