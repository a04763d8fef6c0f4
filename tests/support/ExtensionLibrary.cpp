#include "tests/support/ExtensionLibrary.h"

#include <gtest/gtest.h>
#include <unknwn.h>

#include <filesystem>

#include "core/ModuleHandle.h"
#include "shellext/ClassIds.h"

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

HRESULT ExtensionLibrary::CreateObject(unsigned classIndex, REFIID riid, void** ppv) const {
  UniqueCom<IClassFactory> factory;
  HRESULT result =
      DllGetClassObject(ClassId(classIndex), IID_IClassFactory, reinterpret_cast<void**>(factory.Out()));
  EXPECT_EQ(!factory, FAILED(result));
  if (FAILED(result)) return result;
  result = factory.Get()->CreateInstance(nullptr, riid, ppv);
  EXPECT_EQ(*ppv == nullptr, FAILED(result));
  return result;
}

template <class Function>
void ExtensionLibrary::Resolve(Function*& function, const char* name) {
  function = reinterpret_cast<Function*>(reinterpret_cast<void*>(::GetProcAddress(module_.Get(), name)));
  EXPECT_NE(function, nullptr) << name;
}

}  // namespace veskard::test
