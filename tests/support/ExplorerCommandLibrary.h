// ExplorerCommandLibrary: the built library with the commands of Explorer's own menu, loaded
// as a host loads it, and its menus.
#pragma once

#include <windows.h>
// The shell's headers need the basic types first.
#include <shobjidl.h>

#include <string>
#include <vector>

#include "core/WindowsOwners.h"

namespace veskard::test {

/// The path of the library that was built beside this test.
std::wstring ExplorerCommandLibraryPath();

using ExplorerCommandPointer = UniqueCom<IExplorerCommand>;

class ExplorerCommandLibrary {
 public:
  /// Loads it; the test fails when that fails or when an export is missing.
  ExplorerCommandLibrary() : ExplorerCommandLibrary(ExplorerCommandLibraryPath()) {}
  explicit ExplorerCommandLibrary(const std::wstring& path);

  HMODULE Module() const noexcept { return module_.Get(); }
  /// Releases the one reference; nothing may be called afterwards.
  void Unload() noexcept { module_.Reset(); }
  /// The same, and waits until the library is unloaded, which a sender may delay: the next load
  /// then begins from scratch. The test fails when it is still loaded after ten seconds.
  void UnloadWhole();

  HRESULT DllGetClassObject(REFCLSID classId, REFIID riid, void** ppv) const {
    return getClassObject_(classId, riid, ppv);
  }
  HRESULT DllCanUnloadNow() const { return canUnloadNow_(); }

  /// The factory of the one class, and a new fly-out made by it; the test fails where there
  /// is none.
  UniqueCom<IClassFactory> Factory() const;
  ExplorerCommandPointer NewFlyOut() const;

 private:
  UniqueModule module_;
  HRESULT(STDAPICALLTYPE* getClassObject_)(REFCLSID, REFIID, void**) = nullptr;
  HRESULT(STDAPICALLTYPE* canUnloadNow_)() = nullptr;
};

/// The children, as a new enumerator gives them one by one.
std::vector<ExplorerCommandPointer> ChildrenOf(IExplorerCommand& flyOut);

/// The state from GetState with `okToBeSlow` set; ECS_CHECKED, which no command has, and a failed
/// test for an answer that is not S_OK.
EXPCMDSTATE StateOf(IExplorerCommand& command, IShellItemArray* selection);

/// One letter for each child that is shown, a small one where it is greyed: S sync to this
/// device, C cancel receiving, R remove from this device, A remove from all devices. Empty for
/// a hidden fly-out; the test fails where fly-out and children disagree.
std::string FirstMenuLetters(IExplorerCommand& flyOut, IShellItemArray* selection);

/// The string of GetTitle, GetIcon or GetToolTip, freed; empty with a failed test where there
/// is none.
std::wstring TextOf(IExplorerCommand& command,
                    HRESULT (STDMETHODCALLTYPE IExplorerCommand::*method)(IShellItemArray*, wchar_t**),
                    IShellItemArray* selection = nullptr);

}  // namespace veskard::test
