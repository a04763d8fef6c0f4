// A library that lies where somebody has put it under the name of one of the system's.
// Loading it is all that it takes to have its code run.
#include <windows.h>

BOOL WINAPI DllMain(HINSTANCE, DWORD reason, void*) {
  if (reason == DLL_PROCESS_ATTACH) ::SetEnvironmentVariableW(L"VESKARD_PLANTED", L"ran");
  return TRUE;
}
