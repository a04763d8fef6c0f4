// Files and folders of every kind that a right-click may find selected.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/SyncTree.h"

namespace veskard::bench {

enum class ItemKind {
  kLocalFiles,
  kPlaceholders,  // half of them being received
  kFolders,
  kMixed,  // half local files, half placeholders
};

/// The user's selective folder with some items of each kind, and a file outside.
class ItemKinds {
 public:
  /// `ofEach`: how many of each kind lie on the disk.
  explicit ItemKinds(uint32_t ofEach);

  /// A selection of `count` items. Beyond those on the disk the same ones come again, so
  /// that large selections need no more files; nothing that is measured remembers items.
  std::vector<std::wstring> Select(ItemKind kind, uint32_t count) const;

  const std::wstring& Outside() const noexcept { return outside_; }

 private:
  const std::wstring& Item(ItemKind kind, uint32_t i) const;

  test::SyncTree tree_;
  std::vector<std::wstring> files_;
  std::vector<std::wstring> placeholders_;
  std::vector<std::wstring> folders_;
  std::wstring outside_;
};

}  // namespace veskard::bench
