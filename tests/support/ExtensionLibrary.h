// ExtensionLibrary: the built library, loaded as a host loads it and reached
// through its exports only.
#pragma once

#include <windows.h>

#include <string>

#include "core/WindowsOwners.h"
#include "shellext/ClassIds.h"

namespace veskard::test {

/// The path of the library that was built beside this test.
std::wstring ExtensionLibraryPath();

/// The same of an older version of it, which serves other classes (OlderClassId).
std::wstring OlderLibraryPath();

/// The identifier of an index as version 2.7.1 has it.
GUID OlderClassId(unsigned index) noexcept;

class ExtensionLibrary {
 public:
  /// Loads it; the test fails when that fails or when an export is missing.
  ExtensionLibrary() : ExtensionLibrary(ExtensionLibraryPath()) {}
  /// The same of another file; `classIds` are those of its version.
  explicit ExtensionLibrary(const std::wstring& path, GUID (*classIds)(unsigned) = &ClassId);

  HMODULE Module() const noexcept { return module_.Get(); }
  /// Releases the one reference; nothing may be called afterwards.
  void Unload() noexcept { module_.Reset(); }

  /// An object of the class of that index, made as a host makes it, by the class factory.
  /// The test fails when a result does not match the object returned.
  template <class Pointer>
  HRESULT Create(unsigned classIndex, REFIID riid, Pointer& object) const {
    return CreateObject(classIndex, riid, reinterpret_cast<void**>(object.Out()));
  }

  HRESULT DllGetClassObject(REFCLSID classId, REFIID riid, void** ppv) const {
    return getClassObject_(classId, riid, ppv);
  }
  HRESULT DllInstall(BOOL install, const wchar_t* commandLine) const {
    return install_(install, commandLine);
  }
  HRESULT DllRegisterServer() const { return register_(); }
  HRESULT DllUnregisterServer() const { return unregister_(); }
  HRESULT GetExtVersion(DWORD* version) const { return getExtVersion_(version); }

 private:
  template <class Function>
  void Resolve(Function*& function, const char* name);
  HRESULT CreateObject(unsigned classIndex, REFIID riid, void** ppv) const;

  UniqueModule module_;
  GUID (*classIds_)(unsigned index);
  HRESULT(STDAPICALLTYPE* getClassObject_)(REFCLSID, REFIID, void**) = nullptr;
  HRESULT(STDAPICALLTYPE* install_)(BOOL, const wchar_t*) = nullptr;
  HRESULT(STDAPICALLTYPE* register_)() = nullptr;
  HRESULT(STDAPICALLTYPE* unregister_)() = nullptr;
  HRESULT(STDAPICALLTYPE* getExtVersion_)(DWORD*) = nullptr;
};

}  // namespace veskard::test
