// A host beside which, and in whose current folder, libraries lie that are named like the
// system's.
//
//     planted_host.exe LIBRARY CURRENT_FOLDER
//
// Right-clicks outside a folder, then inside, then chooses a command, with LIBRARY, a path
// to the extension, and lets go of it. Exit code 0; another one says what was wrong.
#include <cwchar>

#include "tests/shellext/contextmenu/LibraryMenu.h"

namespace veskard::test {
namespace {

enum Finding {
  kNothing = 0,
  kLoadedForNothing = 10,  // before anything of it is needed
  kNoPicture = 11,
  kNotLoaded = 12,
  kNotTheSystems = 13,
  kPlantedCodeRan = 14,
  kPlantedCodeCannotRun = 15,  // not even where it is asked for
  kNotFreed = 16,
};

bool IsLoaded(const wchar_t* name) {
  return ::GetModuleHandleW(name) != nullptr;
}

bool IsTheSystems(const wchar_t* name) {
  wchar_t system[MAX_PATH] = {}, path[MAX_PATH] = {};
  const UINT length = ::GetSystemDirectoryW(system, MAX_PATH);
  ::GetModuleFileNameW(::GetModuleHandleW(name), path, MAX_PATH);
  return length != 0 && ::_wcsnicmp(path, system, length) == 0 && path[length] == L'\\';
}

bool HasPlantedCodeRun() {
  wchar_t value[8];
  return ::GetEnvironmentVariableW(L"VESKARD_PLANTED", value, 8) != 0;
}

class Host {
 public:
  explicit Host(const wchar_t* library) : library_(library) {
    tree_.MarkRoot(L"folder", kSelectiveRemovable);
  }

  Finding Run() {
    RightClick(tree_.MakeFile(L"outside.jpg"));
    if (IsLoaded(L"gdiplus.dll") || IsLoaded(L"mpr.dll")) return kLoadedForNothing;
    if (!RightClick(tree_.MakeFile(L"folder\\inside.jpg"))) return kNoPicture;
    for (const wchar_t* name : {L"gdiplus.dll", L"mpr.dll"}) {
      if (!IsLoaded(name)) return kNotLoaded;
      if (!IsTheSystems(name)) return kNotTheSystems;
    }
    if (HasPlantedCodeRun()) return kPlantedCodeRan;
    // Loaded in the ordinary way, what lies beside the host does run.
    ::LoadLibraryW(L"planted_for_certain.dll");
    if (!HasPlantedCodeRun()) return kPlantedCodeCannotRun;
    return AreFreedWithTheExtension() ? kNothing : kNotFreed;
  }

 private:
  // The command's sender holds the extension for a moment longer.
  bool AreFreedWithTheExtension() {
    library_.Unload();
    for (int i = 0; i < 1000 && IsLoaded(L"VeskardShellExt.dll"); ++i) ::Sleep(10);
    return !IsLoaded(L"gdiplus.dll") && !IsLoaded(L"mpr.dll");
  }

  // Whether the menu has pictures.
  bool RightClick(const std::wstring& item) {
    // The network is asked about a path without a drive.
    FakeDataObject selection({item, L"without a drive"});
    const MenuHandler handler(library_);
    const UniqueMenu menu(::CreatePopupMenu());
    handler.Select(&selection);
    handler.Query(menu.Get());
    const std::vector<ShownItem> items = ItemsOf(menu.Get());
    if (!items.empty()) handler.Invoke(UINT_PTR{4});
    handler.Select(nullptr);
    return !items.empty() && items[0].bitmap != nullptr;
  }

  RegistrySandbox registry_;
  FakeAgentMutex agent_{AgentKind::kService};
  SyncTree tree_;
  ExtensionLibrary library_;
};

}  // namespace
}  // namespace veskard::test

int wmain(int count, wchar_t** words) {
  if (count != 3 || !::SetCurrentDirectoryW(words[2])) return 1;
  return veskard::test::Host(words[1]).Run();
}
