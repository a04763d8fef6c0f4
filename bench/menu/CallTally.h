// CallTally: counts how often a loaded module calls each function that it imports.
#pragma once

#include <windows.h>

#include <map>
#include <string>
#include <vector>

namespace veskard::bench {

/// Calls by the function's name; functions that were not called have 0.
using CallNumbers = std::map<std::string, long>;

/// Counts for as long as it lives, the calls of all threads or of the one that makes it.
/// The C run-time library is left out, and so are the functions that never leave the process and cost next to
/// nothing (locks, the last error, a thread's own values).
class CallTally {
 public:
  enum class Of { kAllThreads, kThisThread };

  explicit CallTally(HMODULE module, Of threads = Of::kAllThreads);
  ~CallTally();
  CallTally(const CallTally&) = delete;
  CallTally& operator=(const CallTally&) = delete;

  CallNumbers Numbers() const;

 private:
  struct Counted {
    std::string name;
    void** slot;
    void* original;
    volatile LONG calls = 0;
  };
  void PutThunks(Of threads);

  std::vector<Counted>& functions_;
};

}  // namespace veskard::bench
