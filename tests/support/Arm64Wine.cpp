// Work-arounds for two faults of the Wine under which the test programs for ARM64 run, not of
// ours; Windows needs none of this. That Wine is compiled as the host's programs are, and
// those differ from Windows' in lists of variable arguments, and in a register.
#include <windows.h>

#include <cstdarg>
#include <cstdio>

// Its C run-time library takes the lists of variable arguments for the host's, and reads from a
// wild address. MinGW has functions of its own that do the same.
extern "C" {

int __stdio_common_vfprintf(unsigned long long, FILE* file, const char* format, _locale_t,
                            va_list arguments) {
  return __mingw_vfprintf(file, format, arguments);
}

int __stdio_common_vsprintf(unsigned long long, char* text, size_t size, const char* format, _locale_t,
                            va_list arguments) {
  return __mingw_vsnprintf(text, size, format, arguments);
}

int __stdio_common_vswprintf(unsigned long long, wchar_t* text, size_t size, const wchar_t* format, _locale_t,
                             va_list arguments) {
  return __mingw_vsnwprintf(text, size, format, arguments);
}

int __stdio_common_vsscanf(unsigned long long, const char* text, size_t, const char* format, _locale_t,
                           va_list arguments) {
  return __mingw_vsscanf(text, format, arguments);
}

}  // extern "C"

// Windows keeps the address of a thread's environment block in the register x18, and compiled
// code finds thread-local variables by it. The host's programs use that register for anything,
// so it is lost in any call into that Wine. The one such variable of a test program is
// libc++abi's record of the exceptions in flight: here the register gets its value back first.
namespace {

using CurrentTeb = void* (*)();

/// What Wine itself finds the block with.
CurrentTeb FindCurrentTeb() noexcept {
  const FARPROC found = ::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "NtCurrentTeb");
  return reinterpret_cast<CurrentTeb>(reinterpret_cast<void*>(found));
}

struct ExceptionsInFlight {
  void* caught;
  unsigned uncaught;
};
thread_local constinit ExceptionsInFlight exceptionsInFlight = {};

__attribute__((noinline)) ExceptionsInFlight* RecordOfThisThread() noexcept {
  return &exceptionsInFlight;
}

}  // namespace

extern "C" {

void* __cxa_get_globals() {
  static constinit CurrentTeb currentTeb = nullptr;
  if (currentTeb == nullptr) currentTeb = FindCurrentTeb();
  asm volatile("mov x18, %0" : : "r"(currentTeb()) : "memory");
  return RecordOfThisThread();
}

void* __cxa_get_globals_fast() {
  return __cxa_get_globals();
}

}  // extern "C"
