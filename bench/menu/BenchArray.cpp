#include "bench/menu/BenchArray.h"

#include <objbase.h>

#include <cstring>

namespace veskard::bench {

BenchArray::BenchArray(const std::vector<std::wstring>& paths) : items_(paths.begin(), paths.end()) {}

STDMETHODIMP BenchArray::QueryInterface(REFIID riid, void** ppv) {
  *ppv = nullptr;
  if (riid != IID_IUnknown && riid != IID_IShellItemArray) return E_NOINTERFACE;
  *ppv = static_cast<IShellItemArray*>(this);
  return S_OK;
}

STDMETHODIMP BenchArray::GetCount(DWORD* count) {
  *count = Count();
  return S_OK;
}

STDMETHODIMP BenchArray::GetItemAt(DWORD index, IShellItem** item) {
  *item = nullptr;
  if (index >= items_.size()) return E_INVALIDARG;
  *item = &items_[index];
  return S_OK;
}

STDMETHODIMP BenchArray::Item::QueryInterface(REFIID riid, void** ppv) {
  *ppv = nullptr;
  if (riid != IID_IUnknown && riid != IID_IShellItem) return E_NOINTERFACE;
  *ppv = static_cast<IShellItem*>(this);
  return S_OK;
}

STDMETHODIMP BenchArray::Item::GetDisplayName(SIGDN, LPWSTR* name) {
  const size_t size = (path_.size() + 1) * sizeof(wchar_t);
  *name = static_cast<wchar_t*>(::CoTaskMemAlloc(size));
  if (*name == nullptr) return E_OUTOFMEMORY;
  std::memcpy(*name, path_.c_str(), size);
  return S_OK;
}

}  // namespace veskard::bench
