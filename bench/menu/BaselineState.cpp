#include "bench/menu/BaselineCalls.h"
#include "bench/menu/BaselineLook.h"
#include "bench/menu/BaselineMenu.h"

// The shell's headers need the basic types first.
#include <objbase.h>
#include <shobjidl.h>

namespace veskard::bench {

EXPCMDSTATE BaselineState(IShellItemArray& selection) {
  void* identity = nullptr;
  selection.QueryInterface(IID_IUnknown, &identity);
  BaselineAgentLookUp();
  DWORD count = 0;
  selection.GetCount(&count);
  BaselineLook look;
  bool isInside = true;
  for (DWORD i = 0; i < count; ++i) {
    IShellItem* item = nullptr;
    selection.GetItemAt(i, &item);
    wchar_t* name = nullptr;
    item->GetDisplayName(SIGDN_FILESYSPATH, &name);
    item->Release();
    if (isInside) isInside = look.At(name);
    ::CoTaskMemFree(name);
  }
  static_cast<IUnknown*>(identity)->Release();
  return look.Found().inFolder ? ECS_ENABLED : ECS_HIDDEN;
}

}  // namespace veskard::bench
