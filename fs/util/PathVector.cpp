#include "fs/util/PathVector.h"

#include "fs/util/CloudPath.h"

namespace veskard {
namespace {

constexpr std::wstring_view kLongPrefix = L"\\\\?\\";
constexpr std::wstring_view kLongUncPrefix = L"\\\\?\\UNC\\";
constexpr std::wstring_view kUncPrefix = L"\\\\";
constexpr size_t kShortestLongPath = 6;      // \\?\C:
constexpr size_t kShortestLongUncPath = 10;  // \\?\UNC\ab
constexpr size_t kLongDriveLength = 6;       // \\?\C:
constexpr size_t kLongUncLength = 7;         // \\?\UNC

// How many characters of a long path form its indivisible first component; 0
// when it is neither a drive nor a UNC form.
size_t LongPrefixLength(std::wstring_view text) noexcept {
  if (text[kLongDriveLength - 1] == L':') return kLongDriveLength;
  if (text.size() >= kShortestLongUncPath && text.starts_with(kLongUncPrefix)) return kLongUncLength;
  return 0;
}

}  // namespace

PathVector::PathVector(std::wstring_view text, wchar_t separator) : TokenVector(separator) {
  PathVector::Assign(text);
}

void PathVector::Assign(std::wstring_view text) {
  if (text.empty()) return;
  DecideSeparator(text);
  const bool isLong = text.size() >= kShortestLongPath && text.starts_with(kLongPrefix);
  const bool isUnc = !isLong && text.size() > kUncPrefix.size() && text.starts_with(kUncPrefix);
  if (!isUnc) tokens_.clear();
  if (IsCloudPath(text)) {
    AppendCloudAddress(text);
  } else if (isLong) {
    AppendLongPath(text);
  } else if (isUnc) {
    AppendUncPath(text);
  } else {
    Split(text);
  }
}

void PathVector::DecideSeparator(std::wstring_view text) noexcept {
  if (separator_ != 0) return;
  separator_ = text.find(kCloudSeparator) != std::wstring_view::npos ? kCloudSeparator : kPathSeparator;
}

void PathVector::AppendCloudAddress(std::wstring_view text) {
  separator_ = kCloudSeparator;
  CloudPath address = ParseCloudPath(text);
  tokens_.push_back(CloudRoot(address));
  for (std::wstring& name : address.tail) tokens_.push_back(std::move(name));
}

void PathVector::AppendLongPath(std::wstring_view text) {
  const size_t prefix = LongPrefixLength(text);
  if (prefix == 0) return;
  tokens_.emplace_back(text.substr(0, prefix));
  // The character after the prefix is taken for the separator unseen.
  if (text.size() > prefix) Split(text.substr(prefix + 1));
}

void PathVector::AppendUncPath(std::wstring_view text) {
  // One backslash stands for the pair: joining adds the other.
  tokens_.emplace_back(1, kPathSeparator);
  Split(text.substr(kUncPrefix.size()));
}

bool PathVector::Equals(const PathVector& other) const noexcept {
  return separator_ == other.separator_ && tokens_ == other.tokens_;
}

std::wstring PathVector::ToString(wchar_t separator, size_t count) const {
  constexpr size_t kUsualPathLength = 256;
  const size_t shown = count == 0 || count > tokens_.size() ? tokens_.size() : count;
  std::wstring text;
  text.reserve(kUsualPathLength);
  for (size_t i = 0; i < shown; ++i) {
    if (i > 0) text += separator;
    text += tokens_[i];
  }
  return text;
}

}  // namespace veskard
