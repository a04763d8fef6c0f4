#include "tests/support/ScratchFolder.h"

#include <windows.h>

#include <filesystem>

#include "core/WindowsOwners.h"

namespace veskard::test {
namespace {

std::wstring NewPath() {
  static unsigned number = 0;
  wchar_t temporary[MAX_PATH] = {};
  ::GetTempPathW(MAX_PATH, temporary);
  return temporary + (L"veskard-" + std::to_wstring(::GetCurrentProcessId()) + L"-") +
         std::to_wstring(++number);
}

// Read-only files and paths of any length as well, which the standard library leaves.
void RemoveAll(const std::wstring& path) {
  WIN32_FIND_DATAW entry;
  const UniqueFind search(::FindFirstFileW((path + L"\\*").c_str(), &entry));  // "." comes first
  while (search && ::FindNextFileW(search.Get(), &entry)) {
    const std::wstring name = entry.cFileName;
    const std::wstring inner = path + L"\\" + name;
    const bool folder = (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    ::SetFileAttributesW(inner.c_str(), FILE_ATTRIBUTE_NORMAL);
    if (!folder) ::DeleteFileW(inner.c_str());
    if (folder && name != L"..") RemoveAll(inner);
  }
  ::RemoveDirectoryW(path.c_str());
}

}  // namespace

ScratchFolder::ScratchFolder() : path_(NewPath()) {
  RemoveAll(L"\\\\?\\" + path_);  // a crashed test of the same process id may have left one
  std::filesystem::create_directories(path_);
}

ScratchFolder::~ScratchFolder() {
  RemoveAll(L"\\\\?\\" + path_);
}

}  // namespace veskard::test
