#include "tests/support/TestFileType.h"

#include <gtest/gtest.h>

namespace veskard::test {
namespace {

std::wstring TemporaryFile(const std::wstring& name) {
  wchar_t folder[MAX_PATH + 1] = {};
  ::GetTempPathW(MAX_PATH, folder);
  return folder + std::to_wstring(::GetCurrentProcessId()) + name;
}

void WriteDefaultValue(const std::wstring& key, const std::wstring& text) {
  const auto bytes = static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t));
  EXPECT_EQ(::RegSetKeyValueW(HKEY_LOCAL_MACHINE, key.c_str(), nullptr, REG_SZ, text.c_str(), bytes),
            ERROR_SUCCESS);
}

}  // namespace

TestFileType::TestFileType(const std::wstring& extension, const std::vector<IconFilePicture>& pictures)
    : extensionKey_(L"Software\\Classes\\." + extension),
      typeKey_(L"Software\\Classes\\VeskardTest." + extension),
      iconFile_(TemporaryFile(extension + L".ico")) {
  WriteIconFile(iconFile_, pictures);
  WriteDefaultValue(extensionKey_, L"VeskardTest." + extension);
  WriteDefaultValue(typeKey_ + L"\\DefaultIcon", iconFile_);
}

TestFileType::~TestFileType() {
  ::RegDeleteTreeW(HKEY_LOCAL_MACHINE, extensionKey_.c_str());
  ::RegDeleteTreeW(HKEY_LOCAL_MACHINE, typeKey_.c_str());
  ::DeleteFileW(iconFile_.c_str());
}

}  // namespace veskard::test
