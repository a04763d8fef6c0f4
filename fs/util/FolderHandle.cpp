#include "fs/util/FolderHandle.h"

#include "fs/util/Files.h"

namespace veskard {
namespace {

// The number of leading components that cannot be created: a drive, or a server
// and its share.
size_t RootComponents(const PathVector& path) noexcept {
  if (path.Count() == 0) return 0;
  const std::wstring& first = path.At(0);
  if (first == L"\\" || first == L"\\\\?\\UNC") return 3;
  return first.back() == L':' ? 1 : 0;
}

// Another process may make the same folder at the same time: then it exists, and
// that is success.
bool MakeOneFolder(const std::wstring& path) noexcept {
  if (FolderExists(path.c_str()) || ::CreateDirectoryW(path.c_str(), nullptr)) return true;
  const LastErrorKeeper keeper;
  return ::GetLastError() == ERROR_ALREADY_EXISTS && FolderExists(path.c_str());
}

bool MakeFolderChain(const PathVector& path) {
  if (path.Count() == 0) {
    ::SetLastError(ERROR_PATH_NOT_FOUND);
    return false;
  }
  const size_t root = RootComponents(path);
  if (path.Count() <= root)
    return FolderExists((path.ToString(path.Separator(), 0) + path.Separator()).c_str());
  for (size_t count = root + 1; count <= path.Count(); ++count) {
    if (!MakeOneFolder(path.ToString(path.Separator(), count))) return false;
  }
  return true;
}

}  // namespace

bool FolderHandle::Delete(bool recursive, uint32_t* error) {
  const auto hold = HoldLock();
  return RecordCall(recursive ? DeleteTree(Path()) : ::RemoveDirectoryW(Path().c_str()), error);
}

bool FolderHandle::Create() {
  const auto hold = HoldLock();
  return RecordCall(MakeFolderChain(PathVector(Path())));
}

}  // namespace veskard
