// The library's entry point and its five exports: contract checks and nothing
// else. The exports are listed in VeskardShellExt.def.
#include <windows.h>

#include "core/ModuleHandle.h"
#include "shellext/ClassObjects.h"
#include "shellext/Registration.h"
#include "shellext/module/ComBoundary.h"
#include "shellext/module/DiagnosticLog.h"
#include "shellext/module/Module.h"

namespace {

constexpr DWORD kExtensionInterfaceVersion = 2;

}  // namespace

extern "C" {

/// The compiler's start-up code, which makes and destroys the library's statics
/// around DllMain. The build knows its name.
BOOL WINAPI VESKARD_START_UP(HINSTANCE instance, DWORD reason, void* processExits);

BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, void* processExits) {
  if (reason == DLL_PROCESS_ATTACH) veskard::SetModuleHandle(instance);
  if (reason == DLL_PROCESS_DETACH)
    veskard::CloseLogAtDetach(processExits != nullptr ? veskard::Detach::kProcessExit
                                                      : veskard::Detach::kUnload);
  return TRUE;
}

/// The loader calls this function, whose name is ours: the start-up code of MinGW calls
/// one named DllEntryPoint by itself. When the process exits the library's statics are left
/// alone: the other threads were ended wherever they were, perhaps inside the heap
/// or with a lock held, and the system takes the memory back anyway.
BOOL WINAPI LibraryEntryPoint(HINSTANCE instance, DWORD reason, void* processExits) {
  const bool exiting = reason == DLL_PROCESS_DETACH && processExits != nullptr;
  return exiting ? DllMain(instance, reason, processExits) : VESKARD_START_UP(instance, reason, processExits);
}

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
