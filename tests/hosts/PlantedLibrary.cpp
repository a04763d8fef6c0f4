// A planted library: it has the name of a system library and lies beside the host.
// Loading it is all that it takes to have its code run.
#include <windows.h>

BOOL WINAPI DllMain(HINSTANCE, DWORD reason, void*) {
  if (reason == DLL_PROCESS_ATTACH) ::SetEnvironmentVariableW(L"VESKARD_PLANTED", L"ran");
  return TRUE;
}
