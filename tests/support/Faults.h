// Faults: which request fails, of all that watched code asks of the heap and of the
// system, and how much that code holds. The requests come from tests/support/ProgramHeap.cpp
// (this program's own heap) and tests/support/WatchedCalls.h (functions that a module
// imports).
#pragma once

#include <cstddef>
#include <cstdint>
#include <new>
#include <ostream>
#include <string_view>

namespace veskard::test {

enum class FaultKind { kAllocation, kSystemCall };
enum class FaultSpan {
  kOnce,      // that request alone; later ones succeed
  kFromThen,  // that request and every later one, as when memory has run out
};
enum class Threads { kThisOne, kAll };

/// One plan: request number `number` (from 1) of its kind fails; 0: none does.
struct Fault {
  FaultKind kind = FaultKind::kAllocation;
  size_t number = 0;
  FaultSpan span = FaultSpan::kOnce;
  Threads threads = Threads::kThisOne;  // whose requests are counted and fail
  unsigned exitCode = 0;                // not 0: instead of failing, the request ends the process
};

/// The request that failed; number 0: none did.
struct FailedCall {
  size_t number = 0;
  const char* name = "none";
  uint32_t error = 0;

  bool Is(std::string_view function) const { return name == function; }
};
std::ostream& operator<<(std::ostream& out, const FailedCall& failed);

/// Kinds of resources that are acquired and released. Kernel handles and drawing objects are
/// not among them: the system has tables of those.
enum class Held {
  kNothing,
  kBlock,  // of the C heap
  kGdiplusObject,
  kGdiplus,  // GDI+ itself, started and not stopped
  kLock,
  kModule,
  kSender,
  kSearch,       // of a folder
  kLocalMemory,  // of the system, freed by LocalFree
  kLockedBlock,  // of global memory
  kTaskBlock,    // of COM's task memory, which passes between the library and its host
};
inline constexpr size_t kHeldKinds = 11;

/// The plan that is carried out, and the counts; one of each in the process.
class Faults {
 public:
  /// Counts requests of that kind from now on. Disarm ends it: until the next Arm
  /// nothing fails and nothing is counted as a request. Not while another thread
  /// makes requests.
  static void Arm(const Fault& fault) noexcept;
  static void Disarm() noexcept;

  /// Called by each watched request: whether it must fail, with `error`.
  static bool Strikes(FaultKind kind, const char* function, uint32_t error = 0) noexcept;

  /// Since the last Arm.
  static size_t Requests() noexcept;
  static FailedCall FirstFailed() noexcept;

  static void Take(Held what, ptrdiff_t count) noexcept;
  /// The number acquired less the number released, by all threads; only differences have a
  /// meaning. Counted from the first call of this function on, so that benchmarks, which do
  /// not call it, are not slowed down.
  static ptrdiff_t Taken(Held what) noexcept;
};

/// Carries out a plan for its lifetime.
class ArmedFault {
 public:
  explicit ArmedFault(const Fault& fault) noexcept { Faults::Arm(fault); }
  ~ArmedFault() { Faults::Disarm(); }
  ArmedFault(const ArmedFault&) = delete;
  ArmedFault& operator=(const ArmedFault&) = delete;

  /// Whether there were that many requests.
  bool Happened() const noexcept { return Faults::FirstFailed().number != 0; }
};

/// Fails this thread's allocation number `number`.
inline Fault Allocation(size_t number) noexcept {
  return {.kind = FaultKind::kAllocation, .number = number};
}

/// Heap blocks that are not freed yet, whatever thread took them.
inline size_t LiveBlocks() noexcept {
  return static_cast<size_t>(Faults::Taken(Held::kBlock));
}

/// How many allocations this thread makes in one run.
template <class Run>
size_t AllocationsOf(const Run& run) {
  const ArmedFault none(Allocation(0));
  run();
  return Faults::Requests();
}

/// Runs `scenario` again and again, each time with one allocation failing: the
/// first, the second, and so on until it takes fewer. Then calls
/// check(number, threw, blocksBefore) with whether std::bad_alloc came out and
/// how many blocks were alive before. Returns how many allocations were tried.
/// Number `spared` (0: none) is passed over, for one whose failure ends the process.
/// The scenario makes no assertions of its own: those allocate as well.
template <class Scenario, class Check>
size_t FailEachAllocation(const Scenario& scenario, const Check& check, size_t spared = 0) {
  for (size_t number = 1;; ++number) {
    if (number == spared) continue;
    const size_t before = LiveBlocks();
    bool threw = false;
    bool happened = false;
    {
      const ArmedFault failing(Allocation(number));
      try {
        scenario();
      } catch (const std::bad_alloc&) {
        threw = true;
      }
      happened = failing.Happened();
    }
    if (!happened) return number - 1;
    check(number, threw, before);
  }
}

/// "malloc as allocation 7, and every later one" for a test's message.
std::ostream& operator<<(std::ostream& out, const Fault& fault);

}  // namespace veskard::test
