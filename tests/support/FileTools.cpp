#include "tests/support/FileTools.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "core/WindowsOwners.h"
#include "fs/util/OpenMode.h"

namespace veskard::test {
namespace {

void Require(bool condition, const char* what, const std::wstring& path) {
  if (condition) return;
  std::fprintf(stderr, "test set-up failed (error %lu): %s %ls\n", ::GetLastError(), what, path.c_str());
  std::exit(2);
}

UniqueFile OpenRaw(const std::wstring& path, DWORD access, DWORD disposition) {
  return UniqueFile(::CreateFileW(path.c_str(), access, kShareEverything, nullptr, disposition, 0, nullptr));
}

}  // namespace

void WriteBytes(const std::wstring& path, std::string_view bytes) {
  const UniqueFile file = OpenRaw(path, GENERIC_WRITE, CREATE_ALWAYS);
  Require(static_cast<bool>(file), "create", path);
  DWORD written = 0;
  const BOOL done =
      ::WriteFile(file.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
  Require(done && written == bytes.size(), "write", path);
}

std::string ReadBytes(const std::wstring& path) {
  const UniqueFile file = OpenRaw(path, GENERIC_READ, OPEN_EXISTING);
  if (!file) return "(missing)";
  std::string bytes;
  char buffer[4096];
  DWORD read = 0;
  while (::ReadFile(file.Get(), buffer, sizeof(buffer), &read, nullptr) && read != 0)
    bytes.append(buffer, read);
  return bytes;
}

bool Exists(const std::wstring& path) {
  return ::GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

bool IsReadOnly(const std::wstring& path) {
  const DWORD attributes = ::GetFileAttributesW(path.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_READONLY) != 0;
}

void SetReadOnly(const std::wstring& path, bool readOnly) {
  const DWORD old = ::GetFileAttributesW(path.c_str());
  const DWORD bit = FILE_ATTRIBUTE_READONLY;
  Require(old != INVALID_FILE_ATTRIBUTES, "read attributes", path);
  Require(::SetFileAttributesW(path.c_str(), readOnly ? old | bit : old & ~bit), "set attributes", path);
}

void MakeFolder(const std::wstring& path) {
  Require(::CreateDirectoryW(path.c_str(), nullptr), "make folder", path);
}

std::vector<std::wstring> NamesIn(const std::wstring& folder) {
  std::vector<std::wstring> names;
  WIN32_FIND_DATAW entry;
  const UniqueFind search(::FindFirstFileW((folder + L"\\*").c_str(), &entry));
  Require(static_cast<bool>(search), "list", folder);
  do {
    const std::wstring name = entry.cFileName;
    if (name != L"." && name != L"..") names.push_back(name);
  } while (::FindNextFileW(search.Get(), &entry));
  std::sort(names.begin(), names.end());
  return names;
}

size_t CountOpenHandles(uintptr_t end) noexcept {
  size_t count = 0;
  for (uintptr_t value = 4; value < end; value += 4) {
    DWORD flags = 0;
    count += ::GetHandleInformation(reinterpret_cast<HANDLE>(value), &flags) ? 1u : 0u;
  }
  return count;
}

std::wstring FolderForLength(const std::wstring& folder, size_t total, size_t nameLength) {
  constexpr size_t kLongestName = 200;
  std::wstring path = folder;
  const size_t wanted = total - nameLength - 1;
  while (path.size() < wanted) {
    // The rest must not be a single backslash.
    size_t length = std::min(wanted - path.size() - 1, kLongestName);
    if (wanted - path.size() - 1 - length == 1) --length;
    path += L'\\' + std::wstring(length, L'd');
    MakeFolder(path);
  }
  Require(path.size() == wanted, "make a path of the length wanted below", folder);
  return path;
}

}  // namespace veskard::test
