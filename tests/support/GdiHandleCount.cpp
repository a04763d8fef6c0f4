#include "tests/support/GdiHandleCount.h"

#include <windows.h>
#include <winternl.h>

#include <cstdint>
#include <cstring>

namespace veskard::test {
namespace {

// One entry of the table, as user mode sees it; its type is 0 where it is free.
struct TableEntry {
  uint64_t object;
  uint16_t owner;
  uint16_t ownerHigh;
  uint16_t unique;
  uint8_t type;
  uint8_t flags;
  uint64_t userPointer;
};
static_assert(sizeof(TableEntry) == 24);

constexpr size_t kTableEntries = 0x4000;
constexpr size_t kTablePointerInPeb = sizeof(void*) == 8 ? 0xF8 : 0x94;

const TableEntry* HandleTable() noexcept {
  PROCESS_BASIC_INFORMATION process = {};
  ::NtQueryInformationProcess(::GetCurrentProcess(), ProcessBasicInformation, &process, sizeof(process),
                              nullptr);
  const auto* peb = reinterpret_cast<const char*>(process.PebBaseAddress);
  const TableEntry* table = nullptr;
  std::memcpy(&table, peb + kTablePointerInPeb, sizeof(table));
  return table;
}

}  // namespace

size_t CountGdiHandles() noexcept {
  const TableEntry* table = HandleTable();
  size_t live = 0;
  for (size_t i = 0; i < kTableEntries; ++i) live += table[i].type != 0 ? 1 : 0;
  return live;
}

}  // namespace veskard::test
