// A program that makes a minidump of itself with the library on its stack:
//
//   dumping_host LIBRARY DUMP command     the library reads a command from a wild address
//   dumping_host LIBRARY DUMP selection   the selection crashes while the library asks it
//   dumping_host LIBRARY DUMP hang        no crash: another thread makes the dump while the
//                                         library waits for the selection
//
// The exit code is 7 when the dump was written.
#include <windows.h>

#include <dbghelp.h>
#include <shlobj.h>

#include <stdexcept>
#include <string>

#include "core/WindowsOwners.h"
#include "tools/shellprobe/ComApartment.h"
#include "tools/shellprobe/ExtensionClasses.h"

namespace veskard {
namespace {

constexpr UINT kDumped = 7;

std::wstring dumpPath;

[[noreturn]] void DumpAndEnd(EXCEPTION_POINTERS* exception) {
  MINIDUMP_EXCEPTION_INFORMATION information{::GetCurrentThreadId(), exception, FALSE};
  const UniqueFile file(
      ::CreateFileW(dumpPath.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
  const bool written =
      file && ::MiniDumpWriteDump(::GetCurrentProcess(), ::GetCurrentProcessId(), file.Get(), MiniDumpNormal,
                                  exception == nullptr ? nullptr : &information, nullptr, nullptr);
  ::TerminateProcess(::GetCurrentProcess(), written ? kDumped : 1);
  std::abort();
}

LONG WINAPI DumpOnCrash(EXCEPTION_POINTERS* exception) {
  DumpAndEnd(exception);
}

DWORD WINAPI DumpFromOutside(void*) {
  DumpAndEnd(nullptr);
}

/// A selection that never answers.
class UnwillingSelection final : public IDataObject {
 public:
  explicit UnwillingSelection(bool crashes) : crashes_(crashes) {}
  virtual ~UnwillingSelection() = default;

  STDMETHODIMP QueryInterface(REFIID, void** object) override { return *object = nullptr, E_NOINTERFACE; }
  STDMETHODIMP_(ULONG) AddRef() override { return 2; }
  STDMETHODIMP_(ULONG) Release() override { return 1; }
  STDMETHODIMP GetData(FORMATETC*, STGMEDIUM*) override {
    if (crashes_) ::RaiseException(EXCEPTION_ACCESS_VIOLATION, 0, 0, nullptr);
    const UniqueHandle thread(::CreateThread(nullptr, 0, DumpFromOutside, nullptr, 0, nullptr));
    ::WaitForSingleObject(thread.Get(), INFINITE);
    return E_FAIL;
  }
  STDMETHODIMP GetDataHere(FORMATETC*, STGMEDIUM*) override { return E_NOTIMPL; }
  STDMETHODIMP QueryGetData(FORMATETC*) override { return S_OK; }
  STDMETHODIMP GetCanonicalFormatEtc(FORMATETC*, FORMATETC*) override { return E_NOTIMPL; }
  STDMETHODIMP SetData(FORMATETC*, STGMEDIUM*, BOOL) override { return E_NOTIMPL; }
  STDMETHODIMP EnumFormatEtc(DWORD, IEnumFORMATETC**) override { return E_NOTIMPL; }
  STDMETHODIMP DAdvise(FORMATETC*, DWORD, IAdviseSink*, DWORD*) override { return E_NOTIMPL; }
  STDMETHODIMP DUnadvise(DWORD) override { return E_NOTIMPL; }
  STDMETHODIMP EnumDAdvise(IEnumSTATDATA**) override { return E_NOTIMPL; }

 private:
  const bool crashes_;
};

template <class T>
UniqueCom<T> Ask(IUnknown* object) {
  void* found = nullptr;
  if (FAILED(object->QueryInterface(__uuidof(T), &found))) throw std::runtime_error("not a handler");
  return UniqueCom<T>(static_cast<T*>(found));
}

int Run(const std::wstring& library, const std::wstring& kind) {
  const ComApartment apartment;
  const ExtensionClasses classes(library);
  const UniqueCom<IUnknown> handler = classes.NewMenuHandler(L"C:\\windows\\win.ini");
  const auto menu = Ask<IContextMenu>(handler.Get());
  if (kind == L"command")
    return static_cast<int>(menu.Get()->InvokeCommand(reinterpret_cast<CMINVOKECOMMANDINFO*>(0x10)));
  UnwillingSelection selection(kind == L"selection");
  Ask<IShellExtInit>(handler.Get()).Get()->Initialize(nullptr, &selection, nullptr);
  const UniqueMenu popup(::CreatePopupMenu());
  return static_cast<int>(menu.Get()->QueryContextMenu(popup.Get(), 0, 1, 100, CMF_NORMAL));
}

}  // namespace
}  // namespace veskard

int wmain(int count, wchar_t** words) {
  if (count != 4) return 2;
  veskard::dumpPath = words[2];
  ::SetUnhandledExceptionFilter(veskard::DumpOnCrash);
  veskard::Run(words[1], words[3]);
  return 1;
}
