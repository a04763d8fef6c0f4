#include "fs/util/DeleteTree.h"

#include <windows.h>

#include <string_view>
#include <vector>

#include "core/WindowsOwners.h"
#include "fs/util/ReadOnlyFiles.h"

namespace veskard {
namespace {

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

// A symbolic link or junction: it stands for something that lies elsewhere. So may what
// the file system does not tell the tag of.
bool IsLink(const WIN32_FIND_DATAW& entry) noexcept {
  constexpr DWORD kTagNotTold = 0;
  const DWORD tag = entry.dwReserved0;
  return (entry.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 &&
         (tag == kTagNotTold || IsReparseTagNameSurrogate(tag));
}

// Whether the tree is a link itself, given its attributes. Only its entry in the folder
// above it has the tag; where that may not be listed the tag is not told.
bool IsLinkItself(const std::wstring& path, DWORD attributes) noexcept {
  WIN32_FIND_DATAW entry = {};
  entry.dwFileAttributes = attributes;
  if (!IsLink(entry)) return false;
  const UniqueFind search(::FindFirstFileW(path.c_str(), &entry));
  return !search || IsLink(entry);
}

// A backslash behind a link's name leads to what it stands for. A drive keeps its own.
std::wstring WithoutLastBackslash(std::wstring path) {
  while (path.size() > 1 && (path.back() == L'\\' || path.back() == L'/') && path[path.size() - 2] != L':') {
    path.pop_back();
  }
  return path;
}

bool DeleteLink(const std::wstring& path, DWORD attributes) noexcept {
  if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) return ::RemoveDirectoryW(path.c_str()) != FALSE;
  return DeleteEvenIfReadOnly(path.c_str()) == 0;
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

bool DeleteTree(const std::wstring& folderPath) {
  // What is below no path at all would be the root of the current drive.
  if (folderPath.empty()) {
    ::SetLastError(ERROR_PATH_NOT_FOUND);
    return false;
  }
  const std::wstring path = WithoutLastBackslash(folderPath);
  const DWORD attributes = ::GetFileAttributesW(path.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES) return false;
  if (IsLinkItself(path, attributes)) return DeleteLink(path, attributes);
  DeleteContents(path);
  return ::RemoveDirectoryW(path.c_str()) != FALSE;
}

}  // namespace veskard
