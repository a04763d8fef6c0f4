// The library's five exports: contract checks and nothing else. They are listed in
// VeskardShellExt.def.
#include <windows.h>

#include "shellext/ClassObjects.h"
#include "shellext/Registration.h"
#include "shellext/module/ComBoundary.h"
#include "shellext/module/Module.h"

namespace {

constexpr DWORD kExtensionInterfaceVersion = 2;

}  // namespace

extern "C" {

STDAPI DllGetClassObject(REFCLSID rclsid, REFIID riid, void** ppv) {
  if (ppv == nullptr) return E_POINTER;
  *ppv = nullptr;
  return veskard::ComBoundary([&] {
    veskard::PrepareModule();
    return veskard::GetClassObject(rclsid, riid, ppv);
  });
}

/// Registration happens only through DllInstall; the standard pair is empty so
/// that a bare `regsvr32` changes nothing.
STDAPI DllRegisterServer() {
  return S_OK;
}

STDAPI DllUnregisterServer() {
  return DllRegisterServer();
}

STDAPI DllInstall(BOOL bInstall, const wchar_t* pszCmdLine) {
  return veskard::ComBoundary([&] { return veskard::Install(bInstall != FALSE, pszCmdLine); });
}

/// `version` must not be null: it is not checked.
STDAPI GetExtVersion(DWORD* version) {
  *version = kExtensionInterfaceVersion;
  return S_OK;
}

}  // extern "C"
