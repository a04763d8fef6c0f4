// Reads the agent's marks on the disk: the synchronised folder of a path, that folder's
// record, and the state of a placeholder.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace veskard {

class SyncHandle;

/// A larger mark counts as no dictionary. Marks have some hundred bytes, and reading a
/// larger file would hold up the Shell's thread.
inline constexpr uint64_t kLargestMark = 16 * 1024 * 1024;

/// What the agent has recorded about a synchronised folder.
struct SyncFolderInfo {
  uint32_t type = 0;                         // "type"; 2: content may be removed from all devices
  bool selective = false;                    // "mode" is not 0
  bool disableRemoveFromAllDevices = false;  // "disable_remove_from_all_devices" is not 0
  std::wstring owner;                        // "owner"; empty: everyone
};

/// What the agent has recorded on a placeholder file.
struct PlaceholderState {
  /// From RoundProgress: percent, a multiple of 5, at most 100. Negative: not being received.
  int32_t progress = -1;
  bool typeFlag = false;  // "vlk_type" is 2: the placeholder stands for a folder
};

// Nothing here reports, logs or writes: a missing or unreadable mark counts as
// its default. Each call opens what it needs, closes it before it returns, and
// may be made from any thread. Only std::bad_alloc is thrown.
//
// A mark whose path, with the name appended to it, has more than 259 characters is
// looked for in the path's long form (fs/util/LongPath.h). A relative path has none:
// Windows refuses it at that length, and the mark counts as missing.

/// Whether `path` holds the mark of a root: a plain file `.sync\ID`.
bool IsSyncFolderRoot(std::wstring path);

/// The root of the outermost synchronised folder that contains `path` or is
/// `path`; empty when there is none or when `path` lies in that root's `.sync`. One
/// attribute query for each folder from the drive, or from the share of a network
/// path, down to the first root.
std::wstring FindSyncFolderRoot(std::wstring path);

/// Overwrites the fields of `info` (which the caller has at their defaults) from
/// the first metadata source of `root` that opens; false, and nothing touched,
/// when none does.
bool ReadSyncFolderInfo(std::wstring root, SyncFolderInfo& info);

/// Whether `path` lies in a synchronised folder whose record says that it is selective;
/// false without a folder or a record.
bool LiesInSelectiveFolder(const std::wstring& path);

PlaceholderState ReadPlaceholderState(std::wstring file);

/// The mark that the two calls above read: the first source that opens, open for
/// reading; null when none does. For tools that show its content.
std::shared_ptr<SyncHandle> OpenFolderMark(const std::wstring& root);
std::shared_ptr<SyncHandle> OpenPlaceholderMark(const std::wstring& file);

/// Whether an open mark of a placeholder is the one of plain bytes, which holds the
/// progress alone, and no dictionary.
bool IsProgressMark(const SyncHandle& mark);

/// -1 for 0xFFFFFFFF; otherwise rounded down to a multiple of 5 and then capped at
/// 100, compared as a signed number, so that numbers from 2147483650 on come out
/// negative: 47 -> 45, 250 -> 100, 2147483649 -> 100, 4294967294 -> -6.
int32_t RoundProgress(uint32_t value) noexcept;

}  // namespace veskard
