#include "tests/support/ScratchFolder.h"

#include <windows.h>

#include <filesystem>

namespace veskard::test {
namespace {

std::wstring NewPath() {
  static unsigned number = 0;
  wchar_t temporary[MAX_PATH] = {};
  ::GetTempPathW(MAX_PATH, temporary);
  return temporary + (L"veskard-" + std::to_wstring(::GetCurrentProcessId()) + L"-") +
         std::to_wstring(++number);
}

}  // namespace

ScratchFolder::ScratchFolder() : path_(NewPath()) {
  std::filesystem::remove_all(path_);  // a crashed test of the same process id may have left one
  std::filesystem::create_directories(path_);
}

ScratchFolder::~ScratchFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

}  // namespace veskard::test
