// The library's entry point and its five exports: contract checks and nothing
// else. They are listed in VeskardShellExt.def.
#include <windows.h>

#include "core/ModuleHandle.h"
#include "shellext/ClassObjects.h"
#include "shellext/ComBoundary.h"
#include "shellext/DiagnosticLog.h"
#include "shellext/Module.h"
#include "shellext/Registration.h"

namespace {

constexpr DWORD kExtensionInterfaceVersion = 2;

}  // namespace

extern "C" {

BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, void* processExits) {
  if (reason == DLL_PROCESS_ATTACH) veskard::SetModuleHandle(instance);
  if (reason == DLL_PROCESS_DETACH)
    veskard::CloseLogAtDetach(processExits != nullptr ? veskard::Detach::kProcessExit
                                                      : veskard::Detach::kUnload);
  return TRUE;
}

#ifdef __MINGW32__
BOOL WINAPI DllMainCRTStartup(HINSTANCE instance, DWORD reason, void* processExits);

/// What the system calls, in front of the run-time library's own entry point. When
/// the process exits nothing is destroyed: a thread that was ended inside the heap
/// may hold its lock for ever, and the memory goes with the process anyway.
BOOL WINAPI ExtensionEntry(HINSTANCE instance, DWORD reason, void* processExits) {
  if (reason == DLL_PROCESS_DETACH && processExits != nullptr) return DllMain(instance, reason, processExits);
  return DllMainCRTStartup(instance, reason, processExits);
}
#endif

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

/// `version` is not checked: installers have always passed one.
STDAPI GetExtVersion(DWORD* version) {
  *version = kExtensionInterfaceVersion;
  return S_OK;
}

}  // extern "C"
