// Needed by: GCC for 32-bit Windows (win32). There exceptions are unwound by means of tables
// that the program carries itself; for 64 bits the system has tables of its own, and LLVM's
// run-time libraries find theirs without a lock.
//
// Replaces GCC's look-up of the table's record for an address. GCC's own takes a lock at each
// throw, which it allocates at the first: a host that is out of memory is ended with an access
// violation (TortureTest, "MemoryFromThen"). It also finds only what start-up code has
// registered with it. In a host with libgcc_s_dw2-1.dll that code registers our records with
// the host's copy, where the copy inside this module does not find them, and the first
// exception ends the host (OwnRuntimeTest). And what it allocates is not given back at unload
// (LibraryLifeTest.FiveHundredLoadsLeaveNothing).
//
// This one reads the records where the linker has put them, in one pass: no lock, no memory,
// no registration.
#include <windows.h>

#include <cstdint>
#include <cstring>
#include <span>

// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" const IMAGE_DOS_HEADER __ImageBase;  // the linker's name for where the module begins

// A label somewhere in the records of the whole module. The section's name would not do: the
// linker shortens it when it strips the symbols, and writes a number otherwise.
asm(".section .eh_frame,\"dr\"\n"
    "_veskardSomeFrame:\n"
    ".text\n");
extern "C" const unsigned char veskardSomeFrame[];

namespace veskard {
namespace {

// The records of one module, one behind the other:
//
//     | length, 4 bytes | kind, 4 bytes | contents, length - 4 bytes |
//
// Of kind 0 is what several functions have in common. In a function's own record the kind is
// the distance back to that one, and the contents begin with where the function begins, as a
// distance from here, and how many bytes it has, 4 bytes each. The assembler for this target
// writes these in no other way. A length of 0 is the mark that GCC's start-up code ends the
// list with; other objects' records may follow it.
constexpr size_t kKind = 4, kBegin = 8, kSize = 12, kEndOfNumbers = 16;

using Bytes = std::span<const unsigned char>;

template <class Number>
Number ReadAt(const unsigned char* place) noexcept {
  Number number;
  std::memcpy(&number, place, sizeof(number));
  return number;
}

// The section that the label lies in.
Bytes AllRecords() noexcept {
  const auto* const base = reinterpret_cast<const unsigned char*>(&__ImageBase);
  const auto* const headers = reinterpret_cast<const IMAGE_NT_HEADERS*>(base + __ImageBase.e_lfanew);
  const auto place = static_cast<DWORD>(veskardSomeFrame - base);
  const auto* const first = reinterpret_cast<const IMAGE_SECTION_HEADER*>(
      reinterpret_cast<const unsigned char*>(&headers->OptionalHeader) +
      headers->FileHeader.SizeOfOptionalHeader);
  for (const IMAGE_SECTION_HEADER& section : std::span(first, headers->FileHeader.NumberOfSections)) {
    const DWORD size = section.Misc.VirtualSize;
    if (place - section.VirtualAddress < size) return {base + section.VirtualAddress, size};
  }
  return {};
}

// Where the function of this record begins; null for a function that the linker has dropped.
const unsigned char* FunctionOf(const unsigned char* record) noexcept {
  const auto distance = ReadAt<int32_t>(record + kBegin);
  return distance != 0 ? record + kBegin + distance : nullptr;
}

bool Covers(const unsigned char* record, const unsigned char* code) noexcept {
  if (ReadAt<uint32_t>(record + kKind) == 0) return false;
  const unsigned char* const function = FunctionOf(record);
  const auto size = ReadAt<uint32_t>(record + kSize);
  return function != nullptr &&
         reinterpret_cast<uintptr_t>(code) - reinterpret_cast<uintptr_t>(function) < size;
}

// Null when the code is not of this module, or has no record.
const unsigned char* FindRecord(const unsigned char* code) noexcept {
  const Bytes records = AllRecords();
  for (size_t at = 0; at + kEndOfNumbers <= records.size();) {
    const unsigned char* const record = records.data() + at;
    const auto length = ReadAt<uint32_t>(record);
    if (length != 0 && Covers(record, code)) return record;
    at += sizeof(length) + length;
  }
  return nullptr;
}

}  // namespace

/// What GCC's unwinder wants to know with a record: two addresses that only other systems
/// have, and where the function begins.
struct FrameBases {
  const void* text;
  const void* data;
  const void* function;
};

}  // namespace veskard

extern "C" const void* _Unwind_Find_FDE(const void* code, veskard::FrameBases* bases) {
  const unsigned char* const record = veskard::FindRecord(static_cast<const unsigned char*>(code));
  if (record != nullptr) *bases = {nullptr, nullptr, veskard::FunctionOf(record)};
  return record;
}
// NOLINTEND(bugprone-reserved-identifier)
