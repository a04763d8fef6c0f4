#include "tests/support/ExtensionLibrary.h"

#include <gtest/gtest.h>
#include <unknwn.h>

#include <filesystem>

#include "core/ModuleHandle.h"

namespace veskard::test {
namespace {

std::wstring Built(const wchar_t* name) {
  const std::filesystem::path test = ReadModulePath(nullptr);
  return (test.parent_path().parent_path() / name).wstring();
}

}  // namespace

std::wstring ExtensionLibraryPath() {
  return Built(L"VeskardShellExt.dll");
}

std::wstring OlderLibraryPath() {
  return Built(L"tests\\libraries\\older_library.dll");
}

GUID OlderClassId(unsigned index) noexcept {
  return {0x8AF59400 + index, 0xCC05, 0x0002, {0x07, 0x01, 0xAE, 0x64, 0x72, 0xCC, 0x92, 0xB2}};
}

ExtensionLibrary::ExtensionLibrary(const std::wstring& path, GUID (*classIds)(unsigned))
    : module_(::LoadLibraryW(path.c_str())), classIds_(classIds) {
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
      DllGetClassObject(classIds_(classIndex), IID_IClassFactory, reinterpret_cast<void**>(factory.Out()));
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
