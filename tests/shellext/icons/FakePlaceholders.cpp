#include "tests/shellext/icons/FakePlaceholders.h"

#include <map>

namespace veskard {
namespace test {
namespace {

std::map<std::wstring, FakePlaceholder>& Placeholders() {
  static std::map<std::wstring, FakePlaceholder> placeholders;
  return placeholders;
}

FakePlaceholder Find(const std::wstring& path) {
  const auto found = Placeholders().find(path);
  return found == Placeholders().end() ? FakePlaceholder{} : found->second;
}

}  // namespace

void SetPlaceholder(const std::wstring& path, const FakePlaceholder& placeholder) {
  Placeholders()[path] = placeholder;
}

void ForgetPlaceholders() {
  Placeholders().clear();
}

}  // namespace test

PlaceholderStatus QueryPlaceholderStatus(const std::wstring& placeholderPath) {
  return test::Find(placeholderPath).status;
}

bool LiesInSelectiveFolder(const std::wstring& placeholderPath) {
  return test::Find(placeholderPath).inSelectiveFolder;
}

}  // namespace veskard
