// DropMedium: the drop list of a data object.
#pragma once

#include <windows.h>
// The shell's headers need the basic types first.
#include <objidl.h>
#include <shellapi.h>

namespace veskard {

/// Owns the storage medium that a data object gave for its list of files, and
/// frees it by the medium's own rule: when it is fetched anew and in the
/// destructor. In between the list stays readable. A source that has the medium fetched
/// again while it answers, or while its list is freed, does no harm: the answer that
/// comes last is held. Nothing throws.
class DropMedium {
 public:
  DropMedium() noexcept = default;
  ~DropMedium() { Release(); }
  DropMedium(const DropMedium&) = delete;
  DropMedium& operator=(const DropMedium&) = delete;

  /// Frees the held medium, then asks `source` for its files as a block of memory. Returns
  /// the source's answer; E_UNEXPECTED without a source. After a failure nothing is owned.
  HRESULT Fetch(IDataObject* source) noexcept;

  /// Whether the last answer, success or failure, came with a handle.
  bool CameWithHandle() const noexcept { return medium_.hGlobal != nullptr; }

  /// The drop list; null when there is none or when the source answered with
  /// something else than memory.
  HDROP Drop() const noexcept;

 private:
  void Release() noexcept { Replace({}, false); }
  void Replace(const STGMEDIUM& medium, bool isOwned) noexcept;

  STGMEDIUM medium_ = {};
  bool owned_ = false;
};

}  // namespace veskard
