#include "tests/shellext/module/LogFixture.h"

#include <filesystem>

namespace veskard::test {

LogFixture::LogFixture() {
  registry_.SetApplicationData(ApplicationData());
  std::filesystem::create_directory(Folder());
}

std::wstring LogFixture::Folder() const {
  return applicationData_ / L"Nimbrel Veskard Agent";
}

void LogFixture::SetSwitch(DWORD value) {
  SetLogSwitch(value);
}

void LogFixture::RemoveSwitch() {
  DeleteRegistryValue(HKEY_LOCAL_MACHINE, kLogSwitchKey, kLogSwitchValue);
}

void LogFixture::MakeLongFile(uint64_t size) const {
  const UniqueFile file(::CreateFileW(File().c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
  ASSERT_TRUE(file);
  LARGE_INTEGER end = {};
  end.QuadPart = static_cast<LONGLONG>(size);
  ASSERT_TRUE(::SetFilePointerEx(file.Get(), end, nullptr, FILE_BEGIN));
  ASSERT_TRUE(::SetEndOfFile(file.Get()));
}

}  // namespace veskard::test
