// A library that does nothing: what loading one costs at the least.
#include <windows.h>

BOOL WINAPI DllMain(HINSTANCE, DWORD, void*) {
  return TRUE;
}
