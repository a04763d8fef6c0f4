#include "tests/torture/Faults.h"

#include <array>
#include <atomic>

namespace veskard::test {
namespace {

// Written while no thread of the library makes requests; read by all of them.
Fault plan;
std::atomic<bool> armed = false;
std::atomic<size_t> requests = 0;
std::atomic<const char*> firstFailed = nullptr;
std::array<std::atomic<ptrdiff_t>, kHeldKinds> taken = {};

bool IsStruck(size_t number) noexcept {
  if (plan.number == 0) return false;
  return plan.span == FaultSpan::kOnce ? number == plan.number : number >= plan.number;
}

}  // namespace

void Faults::Arm(const Fault& fault) noexcept {
  plan = fault;
  requests = 0;
  firstFailed = nullptr;
  armed = true;
}

void Faults::Disarm() noexcept {
  armed = false;
}

bool Faults::Strikes(FaultKind kind, const char* function) noexcept {
  if (!armed || kind != plan.kind || !IsStruck(++requests)) return false;
  const char* none = nullptr;
  firstFailed.compare_exchange_strong(none, function);
  return true;
}

std::string_view Faults::FirstFailed() noexcept {
  const char* const name = firstFailed;
  return name == nullptr ? std::string_view() : name;
}

void Faults::Take(Held what, ptrdiff_t count) noexcept {
  taken[static_cast<size_t>(what)] += count;
}

ptrdiff_t Faults::Taken(Held what) noexcept {
  return taken[static_cast<size_t>(what)];
}

std::ostream& operator<<(std::ostream& out, const Fault& fault) {
  out << (fault.kind == FaultKind::kAllocation ? "allocation " : "system call ") << fault.number;
  if (!Faults::FirstFailed().empty()) out << " (" << Faults::FirstFailed() << ")";
  return out << (fault.span == FaultSpan::kOnce ? " fails" : " and every later one fail");
}

}  // namespace veskard::test
