#include "fs/util/SameFile.h"

#include <utility>

#include "fs/util/FileInfo.h"
#include "fs/util/PathText.h"

namespace veskard {
namespace {

bool HaveOneIdentity(const FileInfoImpl& a, const FileInfoImpl& b) noexcept {
  // Some network file systems number all their files 0.
  constexpr std::pair<uint32_t, uint32_t> kNoIndex = {0, 0};
  return a.GetVolumeSerial() == b.GetVolumeSerial() && a.GetFileIndex() == b.GetFileIndex() &&
         a.GetFileIndex() != kNoIndex;
}

// As the system opens it: without the dots and blanks at its end. The path itself when
// that cannot be told.
std::wstring FullPath(const std::wstring& path) {
  std::wstring full(::GetFullPathNameW(path.c_str(), 0, nullptr, nullptr), L'\0');
  const DWORD length =
      ::GetFullPathNameW(path.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr);
  if (length == 0 || length >= full.size()) return path;
  full.resize(length);
  return full;
}

struct FileAndStream {
  std::wstring file;
  std::wstring stream;  // empty for the main one
};

// Takes "file:stream:type" apart; a stream without a name is the main one.
FileAndStream TakeApart(const std::wstring& path) {
  const std::wstring full = FullPath(path);
  const size_t colon = full.find(L':', full.size() - LastComponent(full).size());
  if (colon == std::wstring::npos) return {full, L""};
  return {full.substr(0, colon), full.substr(colon + 1, full.find(L':', colon + 1) - colon - 1)};
}

}  // namespace

bool IsSameFile(const std::wstring& a, const std::wstring& b) {
  if (SamePathText(a, b)) return true;
  FileInfoImpl first(a);
  FileInfoImpl second(b);
  return first.Refresh(kRefreshByOpening) && second.Refresh(kRefreshByOpening) &&
         HaveOneIdentity(first, second);
}

bool IsCopyOntoItself(const std::wstring& source, const std::wstring& target) {
  const FileAndStream from = TakeApart(source);
  const FileAndStream to = TakeApart(target);
  return (to.stream.empty() || SamePathText(from.stream, to.stream)) && IsSameFile(from.file, to.file);
}

}  // namespace veskard
