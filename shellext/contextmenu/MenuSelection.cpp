#include "shellext/contextmenu/MenuSelection.h"

#include <shlwapi.h>

#include <algorithm>
#include <cstdint>
#include <cwchar>

#include "core/Product.h"
#include "fs/util/LongPath.h"
#include "shellext/contextmenu/marks/SyncFolderInspection.h"

namespace veskard {
namespace {

constexpr uint32_t kTypeRemovableEverywhere = 2;
constexpr DWORD kUserNameSize = 256;

bool IsOwnedByUser(const std::wstring& owner) {
  return owner.empty() || owner == CurrentUserName();
}

void InspectFolderOf(const std::wstring& item, MenuSelection& selection) {
  const std::wstring root = FindSyncFolderRoot(item);
  if (root.empty()) return;
  selection.inSyncFolder = true;

  // The root of a nested folder stands for itself, not for the outer folder.
  SyncFolderInfo info;
  ReadSyncFolderInfo(IsSyncFolderRoot(item) ? item : root, info);
  selection.isSelective = info.selective;
  selection.removableEverywhere = info.type == kTypeRemovableEverywhere;
  selection.removeAllDisabled = info.disableRemoveFromAllDevices;
  selection.isOwner = IsOwnedByUser(info.owner);
}

void InspectContent(const std::wstring& item, MenuSelection& selection) {
  if (!IsPlaceholderName(item)) {
    selection.hasLocalFile = true;
    return;
  }
  // As an unsigned number, so that every negative progress means "not started".
  const bool received = static_cast<uint32_t>(ReadPlaceholderState(item).progress) <= 100;
  (received ? selection.receiving : selection.needsDownload) = true;
}

DWORD AttributesOf(const std::wstring& item) {
  if (item.size() <= kLongestPlainPath) return ::GetFileAttributesW(item.c_str());
  return ::GetFileAttributesW(LongPathForm(item).c_str());
}

}  // namespace

MenuSelection InspectSelection(const PathList& items) {
  MenuSelection selection;
  for (uint32_t i = 0; i < items.Count(); ++i) {
    const std::wstring item = items.At(i);
    const DWORD attributes = AttributesOf(item);
    if (attributes == INVALID_FILE_ATTRIBUTES) continue;
    if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) selection.anyDirectory = true;
    if (i == 0) {
      InspectFolderOf(item, selection);
      if (!selection.InOwnSelectiveFolder()) break;
    }
    InspectContent(item, selection);
  }
  return selection;
}

bool IsPlaceholderName(const std::wstring& name) noexcept {
  // The system looks for the extension in paths of the usual length only.
  const size_t begin = name.size() - std::min(name.size(), kLongestPlainPath);
  return ::_wcsicmp(::PathFindExtensionW(name.c_str() + begin), kPlaceholderExtension) == 0;
}

std::wstring CurrentUserName() {
  wchar_t buffer[kUserNameSize] = {};
  DWORD size = kUserNameSize;
  if (!::GetUserNameW(buffer, &size)) return {};
  return std::wstring(buffer, ::wcsnlen(buffer, kUserNameSize));
}

}  // namespace veskard
