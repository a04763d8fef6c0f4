// A work-around for a fault of the Wine under which programs for ARM64 run here, not of ours.
//
// Windows keeps the address of a thread's environment block in the register x18, and compiled
// code finds thread-local variables by it. That Wine is compiled as the host's programs are,
// which use the register for anything, so it is lost in any call into Wine. The one such
// variable of our programs is libc++abi's record of the exceptions in flight: a program would
// end at its first exception. Here the register gets its value back first. On Windows it has
// that value already.
//
// For the tools and the test programs. The library does without.
#include <windows.h>

namespace {

using CurrentTeb = void* (*)();

/// What Wine itself finds the block with. Null where the system does not export it.
CurrentTeb FindCurrentTeb() noexcept {
  const FARPROC found = ::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "NtCurrentTeb");
  return reinterpret_cast<CurrentTeb>(reinterpret_cast<void*>(found));
}

const CurrentTeb currentTeb = FindCurrentTeb();

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
  if (currentTeb != nullptr) asm volatile("mov x18, %0" : : "r"(currentTeb()) : "memory");
  return RecordOfThisThread();
}

void* __cxa_get_globals_fast() {
  return __cxa_get_globals();
}

}  // extern "C"
