#include "fs/util/Files.h"

#include <windows.h>

#include <new>
#include <string_view>
#include <utility>
#include <vector>

#include "core/WindowsOwners.h"
#include "fs/util/FileInfo.h"
#include "fs/util/OpenMode.h"
#include "fs/util/PathText.h"

namespace veskard {

bool FileExists(const wchar_t* path) noexcept {
  const DWORD attributes = ::GetFileAttributesW(path);
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

bool FolderExists(const wchar_t* path) noexcept {
  const DWORD attributes = ::GetFileAttributesW(path);
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

std::unique_ptr<char[]> ReadWholeFile(const std::wstring& path, size_t& size, uint32_t limit) {
  size = 0;
  const UniqueFile file = OpenByMode(path, kModeRead, 0);
  LARGE_INTEGER length;
  if (!file || !::GetFileSizeEx(file.Get(), &length) || length.QuadPart > limit) return nullptr;
  const auto wanted = static_cast<DWORD>(length.QuadPart);
  std::unique_ptr<char[]> bytes(new (std::nothrow) char[size_t{wanted} + 1]);
  if (!bytes) {
    ::SetLastError(ERROR_OUTOFMEMORY);
    return nullptr;
  }
  DWORD read = 0;
  if (!::ReadFile(file.Get(), bytes.get(), wanted, &read, nullptr) || read != wanted) return nullptr;
  bytes[wanted] = '\0';
  size = wanted;
  return bytes;
}

// --- Read-only files ---

namespace {

constexpr DWORD kReadOnly = FILE_ATTRIBUTE_READONLY;

DWORD DeleteOnce(const wchar_t* path) noexcept {
  return ::DeleteFileW(path) ? 0 : ::GetLastError();
}

}  // namespace

bool ClearReadOnly(const wchar_t* path) noexcept {
  const DWORD attributes = ::GetFileAttributesW(path);
  if (attributes == INVALID_FILE_ATTRIBUTES || (attributes & kReadOnly) == 0) return false;
  return ::SetFileAttributesW(path, attributes & ~kReadOnly) != FALSE;
}

DWORD DeleteEvenIfReadOnly(const wchar_t* path) noexcept {
  const DWORD error = DeleteOnce(path);
  if (error != ERROR_ACCESS_DENIED) return error;
  const DWORD attributes = ::GetFileAttributesW(path);
  if (attributes == INVALID_FILE_ATTRIBUTES) return error;
  if (!::SetFileAttributesW(path, attributes & ~kReadOnly)) return error;
  return DeleteOnce(path);
}

// --- Copies onto themselves ---

namespace {

bool HaveOneIdentity(const FileInfoImpl& a, const FileInfoImpl& b) noexcept {
  // Some network file systems number all their files 0.
  constexpr std::pair<uint32_t, uint32_t> kNoIndex = {0, 0};
  return a.GetVolumeSerial() == b.GetVolumeSerial() && a.GetFileIndex() == b.GetFileIndex() &&
         a.GetFileIndex() != kNoIndex;
}

// The path as the system opens it: without dots and blanks at its end. The path itself
// when the system does not resolve it.
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

// Splits "file:stream:type"; a stream without a name is the main one.
FileAndStream TakeApart(const std::wstring& path) {
  const std::wstring full = FullPath(path);
  const size_t colon = full.find(L':', full.size() - LastComponent(full).size());
  if (colon == std::wstring::npos) return {full, L""};
  return {full.substr(0, colon), full.substr(colon + 1, full.find(L':', colon + 1) - colon - 1)};
}

// Whether the texts differ in letter case at most, or both files exist and the volume
// says that they are one (another prefix, a short name, a link).
bool IsSameFile(const std::wstring& a, const std::wstring& b) {
  if (SamePathText(a, b)) return true;
  FileInfoImpl first(a);
  FileInfoImpl second(b);
  return first.Refresh(kRefreshByOpening) && second.Refresh(kRefreshByOpening) &&
         HaveOneIdentity(first, second);
}

}  // namespace

bool IsCopyOntoItself(const std::wstring& source, const std::wstring& target) {
  const FileAndStream from = TakeApart(source);
  const FileAndStream to = TakeApart(target);
  return (to.stream.empty() || SamePathText(from.stream, to.stream)) && IsSameFile(from.file, to.file);
}

// --- Trees ---

namespace {

// One folder of a tree that is being deleted, by its name in its parent.
struct PendingFolder {
  size_t parent;
  std::wstring name;
};
using PendingFolders = std::vector<PendingFolder>;  // the root first, with its whole path as its name

std::wstring PathOf(const PendingFolders& folders, size_t index) {
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

// A symbolic link or junction: its content lies elsewhere. An object of unknown tag may
// be one too.
bool IsLink(const WIN32_FIND_DATAW& entry) noexcept {
  constexpr DWORD kTagNotTold = 0;
  const DWORD tag = entry.dwReserved0;
  return (entry.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 &&
         (tag == kTagNotTold || IsReparseTagNameSurrogate(tag));
}

// Whether the tree is a link itself, given its attributes. Only its entry in the folder
// above it has the tag; when access to that folder's listing is denied, it is unknown.
bool IsLinkItself(const std::wstring& path, DWORD attributes) noexcept {
  WIN32_FIND_DATAW entry = {};
  entry.dwFileAttributes = attributes;
  if (!IsLink(entry)) return false;
  const UniqueFind search(::FindFirstFileW(path.c_str(), &entry));
  return !search || IsLink(entry);
}

// A backslash after a link's name leads to the link's target. A drive keeps its own.
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

void DeleteEntry(PendingFolders& folders, size_t index, const std::wstring& folderPath,
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
void EmptyFolder(PendingFolders& folders, size_t index) {
  const std::wstring path = PathOf(folders, index);
  WIN32_FIND_DATAW entry;
  const UniqueFind search(::FindFirstFileW((path + L"\\*.*").c_str(), &entry));
  if (!search) return;
  do {
    DeleteEntry(folders, index, path, entry);
  } while (::FindNextFileW(search.Get(), &entry));
}

// Without recursion: a tree can be deeper than the host's stack.
void DeleteContents(const std::wstring& path) {
  PendingFolders folders = {{0, path}};
  for (size_t i = 0; i < folders.size(); ++i) EmptyFolder(folders, i);
  for (size_t i = folders.size() - 1; i > 0; --i) ::RemoveDirectoryW(PathOf(folders, i).c_str());
}

}  // namespace

bool DeleteTree(const std::wstring& folderPath) {
  // Below an empty path would be the root of the current drive.
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
