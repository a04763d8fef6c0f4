// Faults: which request of the library fails, and what the library holds.
#pragma once

#include <cstddef>
#include <ostream>
#include <string_view>

namespace veskard::test {

enum class FaultKind { kAllocation, kSystemCall };
enum class FaultSpan {
  kOnce,      // that request alone: what swallows the failure goes on with a sound system
  kFromThen,  // that request and every later one, as when memory is really at its end
};

/// One plan: request number `number` (from 1) of its kind fails; 0: none does.
struct Fault {
  FaultKind kind = FaultKind::kAllocation;
  FaultSpan span = FaultSpan::kOnce;
  size_t number = 0;
};

/// What is taken and given back through the library's imports, less what is
/// counted elsewhere (kernel handles and drawing objects have tables of their own).
enum class Held {
  kNothing,  // the call takes and frees nothing that counts
  kBlock,    // of the C heap
  kGdiplusObject,
  kGdiplus,  // GDI+ itself, started and not stopped
  kLock,
  kModule,
  kSender,
  kSearch,       // of a folder
  kLocalMemory,  // of the system, freed by LocalFree
};
inline constexpr size_t kHeldKinds = 9;

/// The plan that is carried out, for all threads of the library, and the counts.
class Faults {
 public:
  /// Counts requests of that kind from now on. Disarm ends it: until the next Arm
  /// nothing fails and nothing is counted as a request.
  static void Arm(const Fault& fault) noexcept;
  static void Disarm() noexcept;

  /// Asked by each watched import: must it fail? Notes the first that does.
  static bool Strikes(FaultKind kind, const char* function) noexcept;

  /// Since the last Arm: the function that failed first, empty while none has.
  static std::string_view FirstFailed() noexcept;

  static void Take(Held what, ptrdiff_t count) noexcept;
  static ptrdiff_t Taken(Held what) noexcept;
};

/// "malloc as allocation 7, and every later one" for a test's message.
std::ostream& operator<<(std::ostream& out, const Fault& fault);

}  // namespace veskard::test
