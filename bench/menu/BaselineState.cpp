#include "bench/menu/BaselineCalls.h"
#include "bench/menu/BaselineLook.h"
#include "bench/menu/BaselineMenu.h"

// The shell's headers need the basic types first.
#include <objbase.h>
#include <shobjidl.h>

#include <cstring>
#include <string_view>

#include "core/TaskMemory.h"

namespace veskard::bench {
namespace {

UniqueTaskString TaskString(std::wstring_view text) {
  const size_t size = text.size() * sizeof(wchar_t);
  UniqueTaskString copy(static_cast<wchar_t*>(::CoTaskMemAlloc(size + sizeof(wchar_t))));
  std::memcpy(copy.Get(), text.data(), size);
  copy.Get()[text.size()] = L'\0';
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
  const UniqueTaskString title = TaskString(L"the product's name");
  wchar_t library[MAX_PATH] = {};
  const UniqueTaskString icon = TaskString({library, ::GetModuleFileNameW(nullptr, library, MAX_PATH)});
  const EXPCMDSTATE state = BaselineState(selection);
  BaselineLogSwitch();  // the fly-out goes
  return state;
}

}  // namespace veskard::bench
