#include "tests/support/AgentFolder.h"

#include <windows.h>
// After windows.h, which it needs.
#include <shlobj.h>

#include <filesystem>

namespace veskard::test {
namespace {

std::wstring PathOfCurrentUser() {
  wchar_t folder[MAX_PATH] = {};
  ::SHGetSpecialFolderPathW(nullptr, folder, CSIDL_APPDATA, FALSE);
  return std::wstring(folder) + L"\\Nimbrel Veskard Agent";
}

}  // namespace

AgentFolder::AgentFolder() : path_(PathOfCurrentUser()) {
  std::filesystem::remove_all(path_);
  std::filesystem::create_directory(path_);
}

AgentFolder::~AgentFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

}  // namespace veskard::test
