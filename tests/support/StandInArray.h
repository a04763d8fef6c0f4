// StandInArray: a selection of made-up shell items, which answer as a test says.
//
//     StandInArray selection({L"C:\\a.txt", L"\\\\server\\share\\b.txt"});
//     selection.SayCount(0xFFFFFFFF);                      // a count that lies
//     selection.FailCount(E_FAIL);                         // or none
//     selection.FailItemAt(1, E_FAIL);                     // a list that breaks off
//     selection.At(0).FailName(E_FAIL);                    // a name that fails, with a wild pointer
//     selection.At(0).GiveNullName();                      // one that is null
//     selection.At(0).Rename(L"C:\\b.txt");                // another name from now on
//     selection.At(0).BeforeName([&] { ... });             // call back, wait, change anything
//     selection.BeforeCount([&] { ... });
//     selection.BeforeIdentity([&] { ... });
//     selection.AtTheLastRelease([&] { ... });
//     EXPECT_EQ(selection.CountQuestions(), 1);            // who asked what, how often
//     EXPECT_EQ(selection.References(), 0u);               // and the held references
//
// Names may have any length and any form: nothing looks at the disk. OtherFace() is another
// pointer to the same COM object, and RefuseIdentity() lets QueryInterface fail for
// IUnknown. Asked by several threads at a time it counts right; it is scripted before.
#pragma once

#include <windows.h>
// The shell's headers need the basic types first.
#include <shobjidl.h>

#include <atomic>
#include <deque>
#include <functional>
#include <string>
#include <vector>

namespace veskard::test {

/// How one item answers.
class ItemScript {
 public:
  explicit ItemScript(std::wstring path) : path_(std::move(path)) {}

  void FailName(HRESULT result) { nameResult_ = result; }
  void GiveNullName() { hasNullName_ = true; }
  void Rename(std::wstring path) { path_ = std::move(path); }
  /// Done at the beginning of each GetDisplayName, on the thread that asks.
  void BeforeName(std::function<void()> action) { beforeName_ = std::move(action); }

  HRESULT Name(wchar_t** name) const;

 private:
  std::wstring path_;
  HRESULT nameResult_ = S_OK;
  bool hasNullName_ = false;
  std::function<void()> beforeName_;
};

/// On the stack of a test, which outlives whoever holds it.
class StandInArray final : public IShellItemArray {
 public:
  explicit StandInArray(const std::vector<std::wstring>& paths = {}) : items_(paths.begin(), paths.end()) {}
  /// The test fails where somebody still holds the array or an item.
  ~StandInArray();
  StandInArray(const StandInArray&) = delete;
  StandInArray& operator=(const StandInArray&) = delete;

  ItemScript& At(size_t index) { return items_[index]; }
  void SayCount(DWORD count) { saidCount_ = static_cast<int64_t>(count); }
  void FailCount(HRESULT result) { countResult_ = result; }
  /// From that item on GetItemAt fails, and leaves a wild pointer behind; with S_OK it gives
  /// null instead.
  void FailItemAt(size_t index, HRESULT result) { firstRefused_ = index, itemResult_ = result; }
  void BeforeCount(std::function<void()> action) { beforeCount_ = std::move(action); }
  void BeforeIdentity(std::function<void()> action) { beforeIdentity_ = std::move(action); }
  /// Called once, in the Release of the last reference.
  void AtTheLastRelease(std::function<void()> action) { atLastRelease_ = std::move(action); }
  void RefuseIdentity() { refusesIdentity_ = true; }
  IShellItemArray* OtherFace() noexcept { return &otherFace_; }

  long CountQuestions() const noexcept { return countQuestions_; }
  long ItemQuestions() const noexcept { return itemQuestions_; }
  long NameQuestions() const noexcept { return nameQuestions_; }
  long Questions() const noexcept { return countQuestions_ + itemQuestions_ + nameQuestions_; }
  /// Questions on another thread than the one that made the array.
  long ForeignQuestions() const noexcept { return foreignQuestions_; }
  ULONG References() const noexcept { return references_; }
  long ItemsHeld() const noexcept { return itemsHeld_; }

  STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override;
  STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
  STDMETHODIMP_(ULONG) Release() override;
  STDMETHODIMP BindToHandler(IBindCtx*, REFGUID, REFIID, void**) override { return E_NOTIMPL; }
  STDMETHODIMP GetPropertyStore(GETPROPERTYSTOREFLAGS, REFIID, void**) override { return E_NOTIMPL; }
  STDMETHODIMP GetPropertyDescriptionList(REFPROPERTYKEY, REFIID, void**) override { return E_NOTIMPL; }
  STDMETHODIMP GetAttributes(SIATTRIBFLAGS, SFGAOF, SFGAOF*) override { return E_NOTIMPL; }
  STDMETHODIMP GetCount(DWORD* count) override;
  STDMETHODIMP GetItemAt(DWORD index, IShellItem** item) override;
  STDMETHODIMP EnumItems(IEnumShellItems**) override { return E_NOTIMPL; }

 private:
  class Item;

  /// The same object behind another pointer.
  class Face final : public IShellItemArray {
   public:
    explicit Face(StandInArray& array) : array_(array) {}
    STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override { return array_.QueryInterface(riid, ppv); }
    STDMETHODIMP_(ULONG) AddRef() override { return array_.AddRef(); }
    STDMETHODIMP_(ULONG) Release() override { return array_.Release(); }
    STDMETHODIMP BindToHandler(IBindCtx*, REFGUID, REFIID, void**) override { return E_NOTIMPL; }
    STDMETHODIMP GetPropertyStore(GETPROPERTYSTOREFLAGS, REFIID, void**) override { return E_NOTIMPL; }
    STDMETHODIMP GetPropertyDescriptionList(REFPROPERTYKEY, REFIID, void**) override { return E_NOTIMPL; }
    STDMETHODIMP GetAttributes(SIATTRIBFLAGS, SFGAOF, SFGAOF*) override { return E_NOTIMPL; }
    STDMETHODIMP GetCount(DWORD* count) override { return array_.GetCount(count); }
    STDMETHODIMP GetItemAt(DWORD index, IShellItem** item) override { return array_.GetItemAt(index, item); }
    STDMETHODIMP EnumItems(IEnumShellItems**) override { return E_NOTIMPL; }

   private:
    StandInArray& array_;
  };

  void Note(std::atomic<long>& questions) noexcept;

  const DWORD thread_ = ::GetCurrentThreadId();
  std::deque<ItemScript> items_;
  int64_t saidCount_ = -1;  // none
  HRESULT countResult_ = S_OK;
  size_t firstRefused_ = SIZE_MAX;
  HRESULT itemResult_ = S_OK;
  bool refusesIdentity_ = false;
  std::function<void()> beforeCount_, beforeIdentity_, atLastRelease_;
  std::atomic<ULONG> references_ = 0;
  std::atomic<long> countQuestions_ = 0, itemQuestions_ = 0, nameQuestions_ = 0, foreignQuestions_ = 0;
  std::atomic<long> itemsHeld_ = 0;
  Face otherFace_{*this};
};

}  // namespace veskard::test
