// PlaceholderFolder: placeholders on the disk, with the marks that an agent leaves.
#pragma once

#include <string>

#include "tests/support/SyncTree.h"

namespace veskard::test {

/// What an agent has written about a placeholder.
struct PlaceholderMark {
  int64_t progress = -1;  // "vlk_status"; -1: the mark has none
  bool isFolder = false;  // "vlk_type" is 2
};

/// A selective folder and one that is not, both made for one test.
class PlaceholderFolder {
 public:
  PlaceholderFolder();

  /// The full path of a name in the selective folder, and in the other one.
  std::wstring Selective(const std::wstring& name) const { return tree_.Path(L"selective\\" + name); }
  std::wstring Whole(const std::wstring& name) const { return tree_.Path(L"whole\\" + name); }

  /// Makes the placeholder, or changes its mark; returns its full path.
  std::wstring Mark(const std::wstring& name, const PlaceholderMark& mark);
  std::wstring MarkInWhole(const std::wstring& name, const PlaceholderMark& mark);

 private:
  SyncTree tree_;
};

}  // namespace veskard::test
