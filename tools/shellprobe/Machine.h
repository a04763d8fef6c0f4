// Machine: the version and the architectures of this Windows.
#pragma once

#include <windows.h>

#include <vector>

#include "tools/common/Architecture.h"

namespace veskard {

struct Machine {
  Architecture windows = Architecture::k64Bit;  // Windows itself, and its Explorer
  bool runs32Bit = false;                       // 32-bit programs
  unsigned build = 0;                           // 22000 and later: Windows 11
};

/// This machine, whatever this program is made for.
Machine ReadMachine();

/// One of the registry's views, and the programs that look for classes there.
struct RegistryView {
  REGSAM flag;  // KEY_WOW64_64KEY or KEY_WOW64_32KEY
  Architecture programs;
};

/// The views of such a machine; that of its Explorer first.
std::vector<RegistryView> RegistryViewsOf(const Machine& machine);

/// The view of this program's own classes, always named to the system in full.
inline constexpr REGSAM kOwnView = sizeof(void*) == 8 ? KEY_WOW64_64KEY : KEY_WOW64_32KEY;

}  // namespace veskard
