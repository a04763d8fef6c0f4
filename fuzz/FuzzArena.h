// FuzzArena: a heap for fuzz targets, many times as fast as the sanitizer's own and
// no less strict. Within one execution no byte is used twice: every block lies
// between poisoned zones, a freed block is poisoned at once, and what is still
// alive at the end of the execution is a finding.
//
// Linking the library "fuzz_arena" replaces operator new and delete and the
// general-purpose heap functions of util/string/HeapBlock.h; outside an execution
// they are malloc and free.
#pragma once

#include <cstddef>

namespace veskard::fuzz {

/// One execution of a target: while it lives, allocations come from the arena.
class Execution {
 public:
  Execution() noexcept;
  ~Execution();
  Execution(const Execution&) = delete;
  Execution& operator=(const Execution&) = delete;
};

}  // namespace veskard::fuzz
