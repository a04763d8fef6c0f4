// Where the loader enters a library of ours; each one compiles this file.
#include <windows.h>

#include "core/ModuleHandle.h"
#include "shellext/module/DiagnosticLog.h"

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

}  // extern "C"
