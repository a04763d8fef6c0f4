// BenchArray: a selection of made-up shell items that answer as fast as items can. Both sides
// of a benchmark ask the same one.
#pragma once

#include <windows.h>
// The shell's headers need the basic types first.
#include <shobjidl.h>

#include <deque>
#include <string>
#include <vector>

namespace veskard::bench {

/// On the stack of a benchmark, which outlives whoever holds it: nothing is counted.
class BenchArray final : public IShellItemArray {
 public:
  explicit BenchArray(const std::vector<std::wstring>& paths);
  BenchArray(const BenchArray&) = delete;
  BenchArray& operator=(const BenchArray&) = delete;

  uint32_t Count() const noexcept { return static_cast<uint32_t>(items_.size()); }

  STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override;
  STDMETHODIMP_(ULONG) AddRef() override { return 2; }
  STDMETHODIMP_(ULONG) Release() override { return 1; }
  STDMETHODIMP BindToHandler(IBindCtx*, REFGUID, REFIID, void**) override { return E_NOTIMPL; }
  STDMETHODIMP GetPropertyStore(GETPROPERTYSTOREFLAGS, REFIID, void**) override { return E_NOTIMPL; }
  STDMETHODIMP GetPropertyDescriptionList(REFPROPERTYKEY, REFIID, void**) override { return E_NOTIMPL; }
  STDMETHODIMP GetAttributes(SIATTRIBFLAGS, SFGAOF, SFGAOF*) override { return E_NOTIMPL; }
  STDMETHODIMP GetCount(DWORD* count) override;
  STDMETHODIMP GetItemAt(DWORD index, IShellItem** item) override;
  STDMETHODIMP EnumItems(IEnumShellItems**) override { return E_NOTIMPL; }

 private:
  class Item final : public IShellItem {
   public:
    explicit Item(std::wstring path) : path_(std::move(path)) {}

    STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override;
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }
    STDMETHODIMP BindToHandler(IBindCtx*, REFGUID, REFIID, void**) override { return E_NOTIMPL; }
    STDMETHODIMP GetParent(IShellItem**) override { return E_NOTIMPL; }
    STDMETHODIMP GetDisplayName(SIGDN kind, LPWSTR* name) override;
    STDMETHODIMP GetAttributes(SFGAOF, SFGAOF*) override { return E_NOTIMPL; }
    STDMETHODIMP Compare(IShellItem*, SICHINTF, int*) override { return E_NOTIMPL; }

   private:
    std::wstring path_;
  };

  std::deque<Item> items_;
};

}  // namespace veskard::bench
