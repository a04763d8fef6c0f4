// Any text as a path or a cloud address: the rules that hold for every path.
#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "fs/util/CloudPath.h"
#include "fs/util/PathVector.h"
#include "fuzz/FuzzArena.h"
#include "fuzz/Require.h"

namespace veskard {
namespace {

std::wstring Without(std::wstring text, wchar_t separator) {
  text.erase(std::remove(text.begin(), text.end(), separator), text.end());
  return text;
}

bool IsLongPath(std::wstring_view text) {
  return text.size() >= 6 && text.starts_with(L"\\\\?\\");
}

// A UNC path keeps a backslash as its first component whatever separates the rest.
bool IsUnderOtherSeparator(std::wstring_view text, const PathVector& path) {
  return text.starts_with(L"\\\\") && path.Separator() != L'\\';
}

void CheckComponents(const PathVector& path) {
  for (size_t i = 0; i < path.Count(); ++i) {
    VESKARD_REQUIRE(!path.At(i).empty());
    // Only a first component may hold the separator: a prefix or a root.
    VESKARD_REQUIRE(i == 0 || path.At(i).find(path.Separator()) == std::wstring::npos);
  }
}

// The first k components begin the first k + 1.
void CheckPrefixes(const PathVector& path) {
  const std::wstring whole = path.ToString(path.Separator(), 0);
  VESKARD_REQUIRE(path.ToString(path.Separator(), path.Count() + 1) == whole);
  for (size_t count = 1; count <= path.Count(); ++count) {
    VESKARD_REQUIRE(whole.starts_with(path.ToString(path.Separator(), count)));
  }
}

// Nothing but separators is lost, whatever the form of the path.
void CheckNothingLost(std::wstring_view text, const PathVector& path) {
  if (IsCloudPath(text) || IsLongPath(text) || IsUnderOtherSeparator(text, path)) return;
  const std::wstring printed = path.ToString(path.Separator(), 0);
  VESKARD_REQUIRE(Without(printed, path.Separator()) == Without(std::wstring(text), path.Separator()));
  const std::wstring doubled = std::wstring(2, path.Separator());
  VESKARD_REQUIRE(printed.find(doubled, 1) == std::wstring::npos);
}

void CheckPath(std::wstring_view text, wchar_t separator) {
  const PathVector path(text, separator);
  CheckComponents(path);
  CheckPrefixes(path);
  CheckNothingLost(text, path);
  VESKARD_REQUIRE(path.Equals(PathVector(text, separator)));
}

void CheckCloudAddress(std::wstring_view text) {
  const CloudPath address = ParseCloudPath(text);
  const std::wstring root = CloudRoot(address);
  if (address.segment1.empty()) {
    VESKARD_REQUIRE(root == L"cloud://" && address.tail.empty() && address.relative.empty());
    return;
  }
  // The canonical text is an address with the same parts.
  const CloudPath again = ParseCloudPath(root + L"/" + address.relative);
  VESKARD_REQUIRE(again.segment1 == address.segment1 && again.segment2 == address.segment2);
  VESKARD_REQUIRE(again.segment3 == address.segment3 && again.relative == address.relative);
  VESKARD_REQUIRE(again.tail == address.tail);
}

// Separators and the letters of the prefixes are frequent, other bytes stay.
wchar_t CharacterOf(uint8_t byte) {
  constexpr std::wstring_view kFrequent = L"\\/?:.CUNcloud";
  return byte < 128 ? static_cast<wchar_t>(byte) : kFrequent[byte % kFrequent.size()];
}

}  // namespace
}  // namespace veskard

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const veskard::fuzz::Execution execution;
  const std::unique_ptr<wchar_t[]> text(new wchar_t[size]);
  std::transform(data, data + size, text.get(), veskard::CharacterOf);
  const std::wstring_view view(text.get(), size);
  for (const wchar_t separator : {L'\\', L'/', L'\0'}) veskard::CheckPath(view, separator);
  veskard::CheckCloudAddress(view);
  return 0;
}
