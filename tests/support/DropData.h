// Selections as the shell passes them.
#pragma once

#include <windows.h>
// The shell's headers need the basic types first.
#include <objidl.h>
#include <shellapi.h>

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace veskard::test {

/// A drop list with these paths in a movable block of memory, as the shell makes
/// it. The caller frees it with GlobalFree.
HGLOBAL NewDropList(const std::vector<std::wstring>& paths);

/// A drop list for one scope.
class DropListForTest {
 public:
  explicit DropListForTest(const std::vector<std::wstring>& paths) : memory_(NewDropList(paths)) {}
  ~DropListForTest() { ::GlobalFree(memory_); }
  DropListForTest(const DropListForTest&) = delete;
  DropListForTest& operator=(const DropListForTest&) = delete;

  HDROP Get() const noexcept { return static_cast<HDROP>(memory_); }

 private:
  HGLOBAL memory_;
};

/// A data object with a real drop list, on the stack of a test. It counts its references
/// and the lists that it returned. It frees each list itself, and so counts those that are
/// still in use; a list may outlive it.
class FakeDataObject final : public IDataObject {
 public:
  explicit FakeDataObject(std::vector<std::wstring> paths) : paths_(std::move(paths)) {}
  FakeDataObject(const FakeDataObject&) = delete;
  FakeDataObject& operator=(const FakeDataObject&) = delete;

  ULONG References() const noexcept { return references_; }
  int ListsGiven() const noexcept { return given_; }
  int ListsInUse() const noexcept { return *inUse_; }
  const FORMATETC& LastFormat() const noexcept { return lastFormat_; }

  /// Called once, at the beginning of the next GetData: the host's code inside that call.
  void BeforeTheNextAnswer(std::function<void()> action) { beforeAnswer_ = std::move(action); }
  /// Called in the Release of the last reference.
  void AtTheLastRelease(std::function<void()> action) { atLastRelease_ = std::move(action); }

  /// Makes GetData return this instead of a list.
  void AnswerWith(HRESULT result, const STGMEDIUM& medium) {
    answersInstead_ = true;
    result_ = result;
    medium_ = medium;
  }
  /// Makes GetData return lists again.
  void AnswerWithLists() { answersInstead_ = false; }

  STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override;
  STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
  STDMETHODIMP_(ULONG) Release() override;
  STDMETHODIMP GetData(FORMATETC* format, STGMEDIUM* medium) override;
  STDMETHODIMP GetDataHere(FORMATETC*, STGMEDIUM*) override { return E_NOTIMPL; }
  STDMETHODIMP QueryGetData(FORMATETC*) override { return E_NOTIMPL; }
  STDMETHODIMP GetCanonicalFormatEtc(FORMATETC*, FORMATETC*) override { return E_NOTIMPL; }
  STDMETHODIMP SetData(FORMATETC*, STGMEDIUM*, BOOL) override { return E_NOTIMPL; }
  STDMETHODIMP EnumFormatEtc(DWORD, IEnumFORMATETC**) override { return E_NOTIMPL; }
  STDMETHODIMP DAdvise(FORMATETC*, DWORD, IAdviseSink*, DWORD*) override { return E_NOTIMPL; }
  STDMETHODIMP DUnadvise(DWORD) override { return E_NOTIMPL; }
  STDMETHODIMP EnumDAdvise(IEnumSTATDATA**) override { return E_NOTIMPL; }

 private:
  std::vector<std::wstring> paths_;
  ULONG references_ = 0;
  int given_ = 0;
  std::shared_ptr<std::atomic<int>> inUse_ = std::make_shared<std::atomic<int>>(0);
  FORMATETC lastFormat_ = {};
  bool answersInstead_ = false;
  HRESULT result_ = S_OK;
  STGMEDIUM medium_ = {};
  std::function<void()> beforeAnswer_, atLastRelease_;
};

}  // namespace veskard::test
