#include "bench/menu/BaselineLook.h"

#include <windows.h>
// Paths need the basic types first.
#include <shlwapi.h>

#include <cstring>
#include <cwchar>
#include <string>

#include "core/WindowsOwners.h"
#include "fs/util/OpenMode.h"

namespace veskard::bench {
namespace {

bool IsRoot(std::wstring path) {
  const DWORD attributes = ::GetFileAttributesW((path += L"\\.sync\\ID").c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

std::wstring RootOf(const std::wstring& item) {
  for (size_t end = item.find(L'\\'); end != std::wstring::npos; end = item.find(L'\\', end + 1)) {
    std::wstring prefix = item.substr(0, end);
    if (IsRoot(prefix)) return prefix;
  }
  return IsRoot(item) ? item : std::wstring();
}

UniqueFile OpenToRead(const std::wstring& name) {
  return UniqueFile(::CreateFileW(name.c_str(), GENERIC_READ, kShareEverything, nullptr, OPEN_EXISTING,
                                  FILE_ATTRIBUTE_NORMAL, nullptr));
}

// The folder's record.
void ReadRecord(const std::wstring& root) {
  const std::wstring name = root + L"\\.sync\\FolderType";
  const UniqueFile file = OpenToRead(name);
  LARGE_INTEGER length = {};
  ::GetFileSizeEx(file.Get(), &length);
  char bytes[4096];
  wchar_t owner[256];
  DWORD read = 0, size = 256;
  ::ReadFile(file.Get(), bytes, static_cast<DWORD>(length.QuadPart), &read, nullptr);
  ::MultiByteToWideChar(CP_UTF8, 0, bytes, static_cast<int>(read), owner, 256);
  ::GetUserNameW(owner, &size);
}

// Whether a placeholder is being received.
bool ReadMark(const std::wstring& placeholder) {
  const std::wstring name = placeholder + L":com.nimbrel.VeskardAgent";
  const UniqueFile mark = OpenToRead(name);
  LARGE_INTEGER size = {};
  ::GetFileSizeEx(mark.Get(), &size);
  char bytes[4096] = {};
  DWORD read = 0;
  ::ReadFile(mark.Get(), bytes, static_cast<DWORD>(size.QuadPart), &read, nullptr);
  return std::strstr(bytes, "vlk_status") != nullptr;
}

}  // namespace

bool BaselineLook::At(const wchar_t* name) {
  ::GetFileAttributesW(name);
  if (isFirst_) {
    isFirst_ = false;
    const std::wstring root = RootOf(name);
    if (root.empty()) return false;
    found_.inFolder = true;
    ReadRecord(IsRoot(name) ? name : root);
  }
  if (::_wcsicmp(::PathFindExtensionW(name), L".ghpl") != 0) {
    found_.local = true;
  } else {
    (ReadMark(name) ? found_.receiving : found_.waiting) = true;
  }
  return true;
}

}  // namespace veskard::bench
