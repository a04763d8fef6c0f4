#include "tests/support/ShareFolder.h"

#include <windows.h>

#include <filesystem>

namespace veskard::test {
namespace {

std::wstring TemporaryFolder() {
  wchar_t path[MAX_PATH] = {};
  ::GetTempPathW(MAX_PATH, path);
  return path;
}

// `\??\Z:\home\...` under Wine, empty on Windows.
std::wstring WinePrefix() {
  wchar_t path[MAX_PATH] = {};
  ::GetEnvironmentVariableW(L"WINECONFIGDIR", path, MAX_PATH);
  constexpr size_t kDevicePrefixLength = 4;
  const std::wstring text = path;
  return text.size() > kDevicePrefixLength ? text.substr(kDevicePrefixLength) : std::wstring();
}

std::wstring Share() {
  const std::wstring prefix = WinePrefix();
  if (prefix.empty()) {
    const std::wstring folder = TemporaryFolder();
    return L"\\\\localhost\\" + folder.substr(0, 1) + L"$" + folder.substr(2);
  }
  std::filesystem::create_directories(prefix + L"\\dosdevices\\unc\\veskard-tests\\share");
  return L"\\\\veskard-tests\\share\\";
}

}  // namespace

ShareFolder::ShareFolder() : path_(Share() + L"veskard-" + std::to_wstring(::GetCurrentProcessId())) {
  std::filesystem::remove_all(path_);
  std::filesystem::create_directory(path_);
}

ShareFolder::~ShareFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

}  // namespace veskard::test
