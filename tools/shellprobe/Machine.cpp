#include "tools/shellprobe/Machine.h"

#include <winternl.h>

#include <string>

namespace veskard {
namespace {

template <class Function>
Function Find(const wchar_t* module, const char* name) {
  const HMODULE loaded = ::GetModuleHandleW(module);
  const FARPROC address = loaded == nullptr ? nullptr : ::GetProcAddress(loaded, name);
  return reinterpret_cast<Function>(reinterpret_cast<void*>(address));
}

// Windows on ARM says "x64" to x64 programs, except here.
USHORT AskForNativeMachine() {
  using IsWow64 = BOOL(WINAPI*)(HANDLE process, USHORT * processMachine, USHORT * nativeMachine);
  const auto ask = Find<IsWow64>(L"kernel32", "IsWow64Process2");  // Windows 10 and later
  USHORT processMachine = 0;
  USHORT nativeMachine = 0;
  const bool answered = ask != nullptr && ask(::GetCurrentProcess(), &processMachine, &nativeMachine);
  return answered ? nativeMachine : static_cast<USHORT>(IMAGE_FILE_MACHINE_UNKNOWN);
}

Architecture NativeArchitecture() {
  if (const USHORT machine = AskForNativeMachine(); machine != IMAGE_FILE_MACHINE_UNKNOWN)
    return ArchitectureOfMachine(machine);
  SYSTEM_INFO info = {};
  ::GetNativeSystemInfo(&info);
  switch (info.wProcessorArchitecture) {
    case PROCESSOR_ARCHITECTURE_INTEL:
      return Architecture::k32Bit;
    case PROCESSOR_ARCHITECTURE_ARM64:
      return Architecture::kArm64;
    default:
      return Architecture::k64Bit;
  }
}

// The half of Windows that runs them can be left out.
bool Has32BitHalf() {
  wchar_t folder[MAX_PATH] = {};
  const UINT length = ::GetSystemWow64DirectoryW(folder, MAX_PATH);
  if (length == 0 || length >= MAX_PATH) return false;
  const std::wstring kernel = std::wstring(folder) + L"\\kernel32.dll";
  return ::GetFileAttributesW(kernel.c_str()) != INVALID_FILE_ATTRIBUTES;
}

// GetVersionEx answers an older one to programs that do not name the newer.
unsigned ReadBuild() {
  using GetVersion = LONG(NTAPI*)(OSVERSIONINFOW*);
  const auto ask = Find<GetVersion>(L"ntdll", "RtlGetVersion");
  OSVERSIONINFOW info = {};
  info.dwOSVersionInfoSize = sizeof info;
  return ask != nullptr && ask(&info) >= 0 ? info.dwBuildNumber : 0;
}

}  // namespace

Machine ReadMachine() {
  const bool is32Bit = OwnArchitecture() == Architecture::k32Bit;
  return {NativeArchitecture(), is32Bit || Has32BitHalf(), ReadBuild()};
}

std::vector<RegistryView> RegistryViewsOf(const Machine& machine) {
  if (machine.windows == Architecture::k32Bit) return {{KEY_WOW64_32KEY, Architecture::k32Bit}};
  std::vector<RegistryView> views = {{KEY_WOW64_64KEY, machine.windows}};
  if (machine.runs32Bit) views.push_back({KEY_WOW64_32KEY, Architecture::k32Bit});
  return views;
}

}  // namespace veskard
