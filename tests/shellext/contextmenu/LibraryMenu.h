// The menu as a host gets it: handlers made by the built library, their menus, and
// the surroundings that they read.
#pragma once

#include <gtest/gtest.h>
#include <windows.h>
// The shell's headers need the basic types first.
#include <shlobj.h>

#include <string>
#include <string_view>
#include <vector>

#include "core/WindowsOwners.h"
#include "tests/support/DropData.h"
#include "tests/support/ExtensionLibrary.h"
#include "tests/support/FakeAgent.h"
#include "tests/support/LogReader.h"
#include "tests/support/RegistrySandbox.h"
#include "tests/support/ScratchFolder.h"
#include "tests/support/SyncTree.h"

namespace veskard::test {

/// The ids that the tests grant: a command's id is this and its offset.
inline constexpr UINT kFirstId = 1000;

/// One item of a real menu.
struct ShownItem {
  std::wstring text;
  UINT id = 0;
  bool greyed = false;
  bool separator = false;
  HBITMAP bitmap = nullptr;
};

/// What a menu holds now, from top to bottom.
std::vector<ShownItem> ItemsOf(HMENU menu);

/// One letter for each of the extension's items, a small one where it is greyed:
/// S sync to this device, C cancel receiving, R remove from this device, A remove
/// from all devices; ? for anything else.
std::string Letters(const std::vector<ShownItem>& items);

/// A handler made through the library's class factory, with one reference.
class MenuHandler {
 public:
  explicit MenuHandler(const ExtensionLibrary& library, unsigned classIndex = 5);

  IContextMenu* Menu() const noexcept { return menu_.Get(); }
  IShellExtInit* Init() const noexcept { return init_.Get(); }

  HRESULT Select(IDataObject* selection) const {
    return init_.Get()->Initialize(nullptr, selection, nullptr);
  }
  HRESULT Query(HMENU menu, UINT index = 0, UINT flags = CMF_NORMAL) const {
    return menu_.Get()->QueryContextMenu(menu, index, kFirstId, kFirstId + 100, flags);
  }
  /// Only the verb is filled in: nothing else may be looked at.
  HRESULT Invoke(const void* verb) const;
  HRESULT Invoke(UINT_PTR offset) const { return Invoke(reinterpret_cast<const void*>(offset)); }

 private:
  UniqueCom<IContextMenu> menu_;
  UniqueCom<IShellExtInit> init_;
};

/// A host that has the library loaded, with a registry and an application-data
/// folder of its own and a service agent that is there but takes no messages.
class LibraryMenuTest : public testing::Test {
 protected:
  LibraryMenuTest();

  /// Right-clicks: a new handler, a new menu. Returns the letters of its items.
  std::string MenuFor(const std::vector<std::wstring>& items) const;

  /// The same for one file in a folder with that record.
  std::string MenuForFileIn(std::string_view record);

  RegistrySandbox registry_;
  ScratchFolder applicationData_;
  LogReader log_;
  SyncTree tree_;
  FakeAgentMutex service_{AgentKind::kService};
  ExtensionLibrary library_;
};

}  // namespace veskard::test
