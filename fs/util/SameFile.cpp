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

}  // namespace

bool IsSameFile(const std::wstring& a, const std::wstring& b) {
  if (SamePathText(a, b)) return true;
  FileInfoImpl first(a);
  FileInfoImpl second(b);
  return first.Refresh(kRefreshByOpening) && second.Refresh(kRefreshByOpening) &&
         HaveOneIdentity(first, second);
}

}  // namespace veskard
