#include "bench/menu/MenuHost.h"

namespace veskard::bench {

MenuHost::MenuHost() {
  test::WriteRegistryDword(HKEY_LOCAL_MACHINE, L"Software\\Nimbrel\\Sync", L"ShellExtLog", 0);
}

void MenuHost::RightClick(IDataObject* selection, HMENU menu) const {
  const test::MenuHandler handler(library_);
  handler.Select(selection);
  handler.Query(menu);
}

}  // namespace veskard::bench
