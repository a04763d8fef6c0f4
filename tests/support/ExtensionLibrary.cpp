#include "tests/support/ExtensionLibrary.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "core/ModuleHandle.h"

namespace veskard::test {

std::wstring ExtensionLibraryPath() {
  const std::filesystem::path test = ReadModulePath(nullptr);
  return (test.parent_path().parent_path() / L"VeskardShellExt.dll").wstring();
}

ExtensionLibrary::ExtensionLibrary(const std::wstring& path) : module_(::LoadLibraryW(path.c_str())) {
  EXPECT_TRUE(module_) << "error " << ::GetLastError();
  Resolve(getClassObject_, "DllGetClassObject");
  Resolve(install_, "DllInstall");
  Resolve(register_, "DllRegisterServer");
  Resolve(unregister_, "DllUnregisterServer");
  Resolve(getExtVersion_, "GetExtVersion");
}

template <class Function>
void ExtensionLibrary::Resolve(Function*& function, const char* name) {
  function = reinterpret_cast<Function*>(reinterpret_cast<void*>(::GetProcAddress(module_.Get(), name)));
  EXPECT_NE(function, nullptr) << name;
}

}  // namespace veskard::test
