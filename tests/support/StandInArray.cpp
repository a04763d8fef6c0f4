#include "tests/support/StandInArray.h"

#include <gtest/gtest.h>
#include <objbase.h>

#include <cstring>
#include <utility>

#include "tests/support/Faults.h"

namespace veskard::test {
namespace {

// Where nothing is: whoever follows it ends the test.
template <class T>
T* WildPointer() noexcept {
  return reinterpret_cast<T*>(static_cast<uintptr_t>(0x10));
}

}  // namespace

HRESULT ItemScript::Name(wchar_t** name) const {
  if (beforeName_) beforeName_();
  *name = WildPointer<wchar_t>();
  if (FAILED(nameResult_)) return nameResult_;
  *name = nullptr;
  if (hasNullName_) return S_OK;
  const size_t size = (path_.size() + 1) * sizeof(wchar_t);
  *name = static_cast<wchar_t*>(::CoTaskMemAlloc(size));
  if (*name == nullptr) return E_OUTOFMEMORY;
  Faults::Take(Held::kTaskBlock, 1);
  std::memcpy(*name, path_.c_str(), size);
  return S_OK;
}

/// One item, freed by its last Release.
class StandInArray::Item final : public IShellItem {
 public:
  Item(StandInArray& array, const ItemScript& script) : array_(array), script_(script) {
    ++array_.itemsHeld_;
  }

  STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override {
    if (riid != IID_IUnknown && riid != IID_IShellItem) return *ppv = nullptr, E_NOINTERFACE;
    *ppv = static_cast<IShellItem*>(this);
    AddRef();
    return S_OK;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
  STDMETHODIMP_(ULONG) Release() override {
    const ULONG left = --references_;
    if (left == 0) {
      --array_.itemsHeld_;
      delete this;
    }
    return left;
  }
  STDMETHODIMP BindToHandler(IBindCtx*, REFGUID, REFIID, void**) override { return E_NOTIMPL; }
  STDMETHODIMP GetParent(IShellItem**) override { return E_NOTIMPL; }
  STDMETHODIMP GetDisplayName(SIGDN kind, LPWSTR* name) override {
    array_.Note(array_.nameQuestions_);
    EXPECT_EQ(kind, SIGDN_FILESYSPATH);
    return script_.Name(name);
  }
  STDMETHODIMP GetAttributes(SFGAOF, SFGAOF*) override { return E_NOTIMPL; }
  STDMETHODIMP Compare(IShellItem*, SICHINTF, int*) override { return E_NOTIMPL; }

 private:
  virtual ~Item() = default;

  StandInArray& array_;
  const ItemScript& script_;
  std::atomic<ULONG> references_ = 1;
};

StandInArray::~StandInArray() {
  EXPECT_EQ(references_, 0u) << "somebody holds the array";
  EXPECT_EQ(itemsHeld_, 0) << "somebody holds an item";
}

void StandInArray::Note(std::atomic<long>& questions) noexcept {
  ++questions;
  if (::GetCurrentThreadId() != thread_) ++foreignQuestions_;
}

STDMETHODIMP StandInArray::QueryInterface(REFIID riid, void** ppv) {
  if (riid == IID_IUnknown && beforeIdentity_) beforeIdentity_();
  *ppv = WildPointer<void>();
  if (riid == IID_IUnknown && refusesIdentity_) return E_FAIL;
  *ppv = nullptr;
  if (riid != IID_IUnknown && riid != IID_IShellItemArray) return E_NOINTERFACE;
  *ppv = static_cast<IShellItemArray*>(this);
  AddRef();
  return S_OK;
}

STDMETHODIMP_(ULONG) StandInArray::Release() {
  const ULONG left = --references_;
  if (left == 0 && atLastRelease_) std::exchange(atLastRelease_, {})();
  return left;
}

STDMETHODIMP StandInArray::GetCount(DWORD* count) {
  Note(countQuestions_);
  if (beforeCount_) beforeCount_();
  *count = static_cast<DWORD>(saidCount_ >= 0 ? saidCount_ : static_cast<int64_t>(items_.size()));
  return countResult_;
}

STDMETHODIMP StandInArray::GetItemAt(DWORD index, IShellItem** item) {
  Note(itemQuestions_);
  *item = FAILED(itemResult_) ? WildPointer<IShellItem>() : nullptr;
  if (index >= firstRefused_) return itemResult_;
  if (index >= items_.size()) return E_INVALIDARG;
  *item = new Item(*this, items_[index]);
  return S_OK;
}

}  // namespace veskard::test
