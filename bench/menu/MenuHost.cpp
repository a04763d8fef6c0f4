#include "bench/menu/MenuHost.h"

namespace veskard::bench {

void RightClick(const test::ExtensionLibrary& library, IDataObject* selection, HMENU menu) {
  const test::MenuHandler handler(library);
  handler.Select(selection);
  handler.Query(menu);
}

MenuHost::MenuHost() {
  test::SetLogSwitch(0);
}

}  // namespace veskard::bench
