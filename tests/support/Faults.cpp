#include "tests/support/Faults.h"

#if defined(_WIN32)
#include <windows.h>
#endif

#include <array>
#include <atomic>
#include <cstdlib>

namespace veskard::test {
namespace {

// Written while no watched thread makes requests; read by all of them.
Fault plan;
uintptr_t planThread = 0;
std::atomic<bool> armed = false;
std::atomic<size_t> requests = 0;
std::atomic<const char*> firstFailed = nullptr;
std::atomic<uint32_t> firstError = 0;

std::array<std::atomic<ptrdiff_t>, kHeldKinds> taken = {};
std::atomic<bool> isCounting = false;

// Neither takes memory: the heap itself asks.
#if defined(_WIN32)
uintptr_t ThisThread() noexcept {
  return ::GetCurrentThreadId();
}

// At once, as when the power goes.
void EndProcess(unsigned exitCode) noexcept {
  ::TerminateProcess(::GetCurrentProcess(), exitCode);
}
#else
uintptr_t ThisThread() noexcept {
  static thread_local char mark;
  return reinterpret_cast<uintptr_t>(&mark);
}

void EndProcess(unsigned exitCode) noexcept {
  std::_Exit(static_cast<int>(exitCode));
}
#endif

bool IsInPlan(FaultKind kind) noexcept {
  return armed && kind == plan.kind && (plan.threads == Threads::kAll || planThread == ThisThread());
}

bool IsStruck(size_t number) noexcept {
  if (plan.number == 0) return false;
  return plan.span == FaultSpan::kOnce ? number == plan.number : number >= plan.number;
}

}  // namespace

std::ostream& operator<<(std::ostream& out, const FailedCall& failed) {
  return out << "failing call " << failed.number << " (" << failed.name << ")";
}

void Faults::Arm(const Fault& fault) noexcept {
  armed = false;
  plan = fault;
  planThread = ThisThread();
  requests = 0;
  firstFailed = nullptr;
  armed = true;
}

void Faults::Disarm() noexcept {
  armed = false;
}

bool Faults::Strikes(FaultKind kind, const char* function, uint32_t error) noexcept {
  if (!IsInPlan(kind)) return false;
  const size_t number = ++requests;
  if (!IsStruck(number)) return false;
  if (plan.exitCode != 0) EndProcess(plan.exitCode);
  if (number == plan.number) {
    firstError = error;
    firstFailed = function;
  }
  return true;
}

size_t Faults::Requests() noexcept {
  return requests;
}

FailedCall Faults::FirstFailed() noexcept {
  const char* const name = firstFailed;
  return name == nullptr ? FailedCall() : FailedCall{plan.number, name, firstError};
}

void Faults::Take(Held what, ptrdiff_t count) noexcept {
  if (isCounting.load(std::memory_order_relaxed)) taken[static_cast<size_t>(what)] += count;
}

ptrdiff_t Faults::Taken(Held what) noexcept {
  isCounting = true;
  return taken[static_cast<size_t>(what)];
}

std::ostream& operator<<(std::ostream& out, const Fault& fault) {
  out << (fault.kind == FaultKind::kAllocation ? "allocation " : "system call ") << fault.number;
  if (const FailedCall failed = Faults::FirstFailed(); failed.number != 0) out << " (" << failed.name << ")";
  return out << (fault.span == FaultSpan::kOnce ? " fails" : " and every later one fail");
}

}  // namespace veskard::test
