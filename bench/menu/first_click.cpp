// first_click.exe LIBRARY REGISTRY ITEM [SYSTEM LIBRARY...]: loads the system's libraries,
// then the library, and right-clicks the item once, in a process that has done neither
// before and sees that registry of a test. Writes what that took to standard output as
// two numbers of microseconds:
//
//     loading the library    the right-click
//
// Exit code 1 when something cannot be loaded, or when the menu stays empty.
#include <windows.h>

#include <cstdio>

#include "bench/menu/BenchSelection.h"
#include "bench/menu/MenuHost.h"
#include "bench/windows/Measure.h"
#include "core/WindowsOwners.h"

namespace veskard::bench {
namespace {

// What any host has done before it shows its first menu.
void DrawSomething() {
  const UniqueScreenDc screen(::GetDC(nullptr));
  const UniqueMemoryDc memory(::CreateCompatibleDC(screen.Get()));
}

int ClickOnce(const std::wstring& libraryPath, const std::wstring& item) {
  BenchSelection selection({item});
  const UniqueMenu menu(::CreatePopupMenu());
  DrawSomething();
  const double begin = MicrosecondsNow();
  const test::ExtensionLibrary library(libraryPath);
  const double loaded = MicrosecondsNow();
  if (!library.Module()) return 1;
  RightClick(library, selection.Data(), menu.Get());
  const double clicked = MicrosecondsNow();
  if (::GetMenuItemCount(menu.Get()) <= 0) return 1;
  std::printf("%.1f %.1f\n", loaded - begin, clicked - loaded);
  return 0;
}

}  // namespace
}  // namespace veskard::bench

int wmain(int count, wchar_t** words) {
  if (count < 4) return 1;
  for (int i = 4; i < count; ++i) {
    if (::LoadLibraryW(words[i]) == nullptr) return 1;
  }
  const veskard::test::RegistrySandbox registry{std::wstring(words[2])};
  return veskard::bench::ClickOnce(words[1], words[3]);
}
