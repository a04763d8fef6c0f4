#include "fs/util/Handle.h"

#include <limits>
#include <new>
#include <vector>

#include "core/StdAfx.h"
#include "fs/util/ReadOnlyFiles.h"

namespace veskard {
namespace {

bool MoveToEnd(HANDLE file) noexcept {
  return ::SetFilePointerEx(file, LARGE_INTEGER{}, nullptr, FILE_END) != FALSE;
}

// One folder of a tree that is being deleted, by its name in the folder above it.
struct DoomedFolder {
  size_t parent;
  std::wstring name;
};
using DoomedFolders = std::vector<DoomedFolder>;  // the root first, with its whole path as its name

std::wstring PathOf(const DoomedFolders& folders, size_t index) {
  if (index == 0) return folders[0].name;
  std::vector<size_t> chain;
  for (size_t i = index; i != 0; i = folders[i].parent) chain.push_back(i);
  std::wstring path = folders[0].name;
  for (auto i = chain.rbegin(); i != chain.rend(); ++i) path += L'\\' + folders[*i].name;
  return path;
}

bool IsDotName(const wchar_t* name) noexcept {
  const std::wstring_view text = name;
  return text == L"." || text == L"..";
}

// A symbolic link or junction: it stands for something that lies elsewhere.
bool IsLink(const WIN32_FIND_DATAW& entry) noexcept {
  return (entry.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 &&
         IsReparseTagNameSurrogate(entry.dwReserved0);
}

void DeleteEntry(DoomedFolders& folders, size_t index, const std::wstring& folderPath,
                 const WIN32_FIND_DATAW& entry) {
  if ((entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
    DeleteEvenIfReadOnly((folderPath + L'\\' + entry.cFileName).c_str());
  } else if (IsDotName(entry.cFileName)) {
    return;
  } else if (IsLink(entry)) {
    ::RemoveDirectoryW((folderPath + L'\\' + entry.cFileName).c_str());
  } else {
    folders.push_back({index, entry.cFileName});
  }
}

// Deletes the files of a folder and notes its folders.
void EmptyFolder(DoomedFolders& folders, size_t index) {
  const std::wstring path = PathOf(folders, index);
  WIN32_FIND_DATAW entry;
  const UniqueFind search(::FindFirstFileW((path + L"\\*.*").c_str(), &entry));
  if (!search) return;
  do {
    DeleteEntry(folders, index, path, entry);
  } while (::FindNextFileW(search.Get(), &entry));
}

// Not by calling itself for each folder: a tree can be deeper than the host's stack.
void DeleteContents(const std::wstring& path) {
  DoomedFolders folders = {{0, path}};
  for (size_t i = 0; i < folders.size(); ++i) EmptyFolder(folders, i);
  for (size_t i = folders.size() - 1; i > 0; --i) ::RemoveDirectoryW(PathOf(folders, i).c_str());
}

}  // namespace

std::shared_ptr<SyncHandle> MakeHandle(const PathVector& path, HandleKind kind) {
  switch (kind) {
    case HandleKind::kFile:
    case HandleKind::kFileSecondCode:
      return std::shared_ptr<SyncHandle>(new FileHandle(path));
    case HandleKind::kFolder:
      return std::shared_ptr<SyncHandle>(new FolderHandle(path));
    case HandleKind::kSymlink:
      return std::shared_ptr<SyncHandle>(new SymlinkHandle(path));
    case HandleKind::kStream:
      return std::shared_ptr<SyncHandle>(new StreamHandle(path));
  }
  AssertionFailed("fs\\util\\Handle", 72);
}

UniqueFile OpenByMode(const std::wstring& path, uint32_t mode, uint32_t extraFlags) noexcept {
  if (mode >= kOpenModes.size()) {
    ::SetLastError(ERROR_INVALID_PARAMETER);
    return UniqueFile();
  }
  const OpenMode& row = kOpenModes[mode];
  UniqueFile file(::CreateFileW(path.c_str(), row.access, kShareEverything, nullptr, row.disposition,
                                row.flags | extraFlags, nullptr));
  if (file && row.appends && !MoveToEnd(file.Get())) file.Reset();
  return file;
}

std::unique_ptr<char[]> ReadWholeFile(const std::wstring& path, size_t& size) {
  size = 0;
  const UniqueFile file = OpenByMode(path, kModeRead, 0);
  LARGE_INTEGER length;
  if (!file || !::GetFileSizeEx(file.Get(), &length)) return nullptr;
  if (length.QuadPart >= std::numeric_limits<DWORD>::max()) return nullptr;
  const auto wanted = static_cast<DWORD>(length.QuadPart);
  std::unique_ptr<char[]> bytes(new (std::nothrow) char[size_t{wanted} + 1]);
  DWORD read = 0;
  if (!bytes || !::ReadFile(file.Get(), bytes.get(), wanted, &read, nullptr) || read != wanted)
    return nullptr;
  bytes[wanted] = '\0';
  size = wanted;
  return bytes;
}

bool DeleteTree(const std::wstring& path) {
  // What is below no path at all would be the root of the current drive.
  if (path.empty()) {
    ::SetLastError(ERROR_PATH_NOT_FOUND);
    return false;
  }
  DeleteContents(path);
  return ::RemoveDirectoryW(path.c_str()) != FALSE;
}

}  // namespace veskard
