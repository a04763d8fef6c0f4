#include "shellext/explorercommand/ShellItemPaths.h"

#include "core/TaskMemory.h"
#include "core/WindowsOwners.h"

namespace veskard {
namespace {

// A pointer that comes with a failure is not owned, and may be invalid.

uint32_t CountOf(IShellItemArray* items) noexcept {
  DWORD count = 0;
  return items != nullptr && SUCCEEDED(items->GetCount(&count)) ? count : 0;
}

UniqueCom<IShellItem> ItemAt(IShellItemArray& items, uint32_t index) noexcept {
  IShellItem* item = nullptr;
  return UniqueCom<IShellItem>(SUCCEEDED(items.GetItemAt(index, &item)) ? item : nullptr);
}

UniqueTaskString PathOf(IShellItem& item) noexcept {
  wchar_t* path = nullptr;
  return UniqueTaskString(SUCCEEDED(item.GetDisplayName(SIGDN_FILESYSPATH, &path)) ? path : nullptr);
}

}  // namespace

ShellItemPaths::ShellItemPaths(IShellItemArray* items) {
  const uint32_t count = CountOf(items);
  for (uint32_t i = 0; i < count; ++i) {
    const UniqueCom<IShellItem> item = ItemAt(*items, i);
    if (!item) return;
    const UniqueTaskString path = PathOf(*item.Get());
    if (path && *path.Get() != L'\0') paths_.emplace_back(path.Get());
  }
}

std::wstring ShellItemPaths::At(uint32_t index) const {
  return index < paths_.size() ? paths_[index] : std::wstring();
}

}  // namespace veskard
