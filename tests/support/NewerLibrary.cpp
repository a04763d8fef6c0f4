// A newer version of the library. It writes a class, and takes the icon handler's key,
// which every version shares; unregistering takes both away, as it does for the real
// library, and leaves the parents. Where REGISTRATION_RESULT is a failure, registration
// fails half-way, to make an installation fail where it hurts most.
#include <windows.h>

namespace {

constexpr wchar_t kClassId[] = L"{8AF59406-CC05-0063-0000-AE6472CC92B2}";
constexpr wchar_t kClassKey[] = L"Software\\Classes\\CLSID\\{8AF59406-CC05-0063-0000-AE6472CC92B2}";
constexpr wchar_t kIconHandlerKey[] = L"Software\\Classes\\Nimbrel Veskard Agent\\shellex\\IconHandler";

void WriteDefault(const wchar_t* key, const wchar_t* text) noexcept {
  const DWORD size = static_cast<DWORD>((::lstrlenW(text) + 1) * static_cast<int>(sizeof(wchar_t)));
  ::RegSetKeyValueW(HKEY_LOCAL_MACHINE, key, nullptr, REG_SZ, text, size);
}

HRESULT Register() noexcept {
  WriteDefault(kClassKey, L"Nimbrel Veskard Agent Service 99.0.0");
  WriteDefault(kIconHandlerKey, kClassId);
  return REGISTRATION_RESULT;
}

HRESULT Unregister() noexcept {
  ::RegDeleteKeyW(HKEY_LOCAL_MACHINE, kIconHandlerKey);
  ::RegDeleteKeyW(HKEY_LOCAL_MACHINE, kClassKey);
  return S_OK;
}

}  // namespace

extern "C" __declspec(dllexport) HRESULT WINAPI DllInstall(BOOL install, const wchar_t*) {
  return install ? Register() : Unregister();
}
