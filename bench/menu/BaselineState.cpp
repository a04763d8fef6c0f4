#include "bench/menu/BaselineCalls.h"
#include "bench/menu/BaselineLook.h"
#include "bench/menu/BaselineMenu.h"

// The shell's headers need the basic types first.
#include <objbase.h>
#include <shobjidl.h>

#include <cstring>

#include "core/TaskMemory.h"

namespace veskard::bench {
namespace {

UniqueTaskString TaskString(const wchar_t* text, size_t length) {
  const size_t size = (length + 1) * sizeof(wchar_t);
  UniqueTaskString copy(static_cast<wchar_t*>(::CoTaskMemAlloc(size)));
  std::memcpy(copy.Get(), text, size);
  return copy;
}

}  // namespace

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

EXPCMDSTATE BaselineFirstMenu(IShellItemArray& selection) {
  BaselineLogSwitch();  // the fly-out comes
  const UniqueTaskString title = TaskString(L"the product's name", 18);
  wchar_t library[MAX_PATH] = {};
  const UniqueTaskString icon = TaskString(library, ::GetModuleFileNameW(nullptr, library, MAX_PATH));
  const EXPCMDSTATE state = BaselineState(selection);
  BaselineLogSwitch();  // the fly-out goes
  return state;
}

}  // namespace veskard::bench
