// A newer version of the library that cannot be registered, to make an upgrade
// fail where it hurts most. Removing it works, as it does for the real one.
#include <windows.h>

extern "C" __declspec(dllexport) HRESULT WINAPI DllInstall(BOOL install, const wchar_t*) {
  return install ? E_FAIL : S_OK;
}
