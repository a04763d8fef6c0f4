#include "bench/menu/ItemKinds.h"

#include "shellext/contextmenu/MenuSelection.h"
#include "util/string/CodePage.h"

namespace veskard::bench {

ItemKinds::ItemKinds(uint32_t ofEach) {
  tree_.MarkRoot(L"folder", test::SelectiveOwnedBy(Utf8FromWide(CurrentUserName())));
  for (uint32_t i = 0; i < ofEach; ++i) {
    const std::wstring number = std::to_wstring(i);
    files_.push_back(tree_.MakeFile(L"folder\\files\\photo " + number + L".jpg"));
    // Two by two: a mixed selection takes every other one.
    placeholders_.push_back(tree_.MakePlaceholder(L"folder\\placeholders\\photo " + number + L".jpg.ghpl",
                                                  i / 2 % 2 == 0 ? test::kNotReceived : test::kReceiving));
    folders_.push_back(tree_.MakeFolder(L"folder\\folders\\album " + number));
  }
  outside_ = tree_.MakeFile(L"elsewhere\\photo.jpg");
}

std::vector<std::wstring> ItemKinds::Select(ItemKind kind, uint32_t count) const {
  std::vector<std::wstring> items;
  for (uint32_t i = 0; i < count; ++i) items.push_back(Item(kind, i));
  return items;
}

const std::wstring& ItemKinds::Item(ItemKind kind, uint32_t i) const {
  const size_t at = i % files_.size();
  switch (kind) {
    case ItemKind::kPlaceholders:
      return placeholders_[at];
    case ItemKind::kFolders:
      return folders_[at];
    case ItemKind::kMixed:
      return at % 2 == 0 ? files_[at] : placeholders_[at];
    default:
      return files_[at];
  }
}

}  // namespace veskard::bench
