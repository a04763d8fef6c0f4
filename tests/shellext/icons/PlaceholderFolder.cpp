#include "tests/shellext/icons/PlaceholderFolder.h"

namespace veskard::test {
namespace {

std::string Bencoded(const PlaceholderMark& mark) {
  std::string bytes = "d";
  if (mark.progress != -1) bytes += "10:vlk_statusi" + std::to_string(mark.progress) + "e";
  if (mark.isFolder) bytes += "8:vlk_typei2e";
  return bytes + "e";
}

}  // namespace

PlaceholderFolder::PlaceholderFolder() {
  tree_.MarkRoot(L"selective", kSelective);
  tree_.MarkRoot(L"whole", kNotSelective);
}

std::wstring PlaceholderFolder::Mark(const std::wstring& name, const PlaceholderMark& mark) {
  return tree_.MakePlaceholder(L"selective\\" + name, Bencoded(mark));
}

std::wstring PlaceholderFolder::MarkInWhole(const std::wstring& name, const PlaceholderMark& mark) {
  return tree_.MakePlaceholder(L"whole\\" + name, Bencoded(mark));
}

}  // namespace veskard::test
