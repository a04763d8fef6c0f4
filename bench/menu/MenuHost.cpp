#include "bench/menu/MenuHost.h"

namespace veskard::bench {

MenuHost::MenuHost() {
  test::SetLogSwitch(0);
}

void MenuHost::RightClick(IDataObject* selection, HMENU menu) const {
  const test::MenuHandler handler(library_);
  handler.Select(selection);
  handler.Query(menu);
}

}  // namespace veskard::bench
