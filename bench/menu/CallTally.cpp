#include "bench/menu/CallTally.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <list>

#include "tools/common/ImportSlot.h"

namespace veskard::bench {
namespace {

constexpr const char* kNotCounted[] = {
    "EnterCriticalSection", "LeaveCriticalSection", "GetLastError",       "SetLastError",
    "TlsGetValue",          "TlsSetValue",          "GetCurrentThreadId",
};

bool IsCounted(const char* name, void* function) {
  HMODULE home = nullptr;
  ::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       static_cast<const wchar_t*>(function), &home);
  // The heap checks put functions of this program before the C run-time library's.
  return home != ::GetModuleHandleW(L"msvcrt.dll") && home != ::GetModuleHandleW(nullptr) &&
         std::none_of(std::begin(kNotCounted), std::end(kNotCounted),
                      [name](const char* other) { return std::strcmp(name, other) == 0; });
}

// One function's detour. No register that carries an argument is touched, so that it
// serves a function of any type. The first three lines are there when one thread's calls
// are counted only; the system keeps a thread's id at that place.
//
//     41 BA <thread>                mov  r10d, thread
//     65 44 3B 14 25 48 00 00 00    cmp  r10d, gs:[0x48]
//     75 0E                         jne  original
//     49 BA <counter>               mov  r10, counter
//     F0 41 FF 02                   lock inc dword [r10]
//     49 BA <original>  original:   mov  r10, original
//     41 FF E2                      jmp  r10
constexpr BYTE kLoadThread[] = {0x41, 0xBA};
constexpr BYTE kUnlessThisThread[] = {0x65, 0x44, 0x3B, 0x14, 0x25, 0x48, 0x00, 0x00, 0x00, 0x75, 0x0E};
constexpr BYTE kLoad[] = {0x49, 0xBA};
constexpr BYTE kCount[] = {0xF0, 0x41, 0xFF, 0x02};
constexpr BYTE kJump[] = {0x41, 0xFF, 0xE2};
constexpr size_t kThunkSize = 48;
static_assert(sizeof(void*) == 8, "the detours are written for 64 bits");

template <class T>
BYTE* Append(BYTE* place, const T& bytes) {
  std::memcpy(place, &bytes, sizeof(bytes));
  return place + sizeof(bytes);
}

void WriteThunk(BYTE* place, CallTally::Of threads, volatile LONG* counter, void* original) {
  if (threads == CallTally::Of::kThisThread)
    place = Append(Append(Append(place, kLoadThread), ::GetCurrentThreadId()), kUnlessThisThread);
  place = Append(Append(place, kLoad), counter);
  place = Append(place, kCount);
  place = Append(Append(place, kLoad), original);
  Append(place, kJump);
}

}  // namespace

// Detours and counters stay when counting ends: a thread of the module may be on its
// way through one.
CallTally::CallTally(HMODULE module, Of threads)
    : functions_([]() -> std::vector<Counted>& {
        static std::list<std::vector<Counted>> all;
        return all.emplace_back();
      }()) {
  ForEachImport(module, [this](const char* name, void** slot) {
    if (IsCounted(name, *slot)) functions_.push_back({name, slot, *slot});
  });
  PutThunks(threads);
}

void CallTally::PutThunks(Of threads) {
  auto* place = static_cast<BYTE*>(::VirtualAlloc(nullptr, functions_.size() * kThunkSize,
                                                  MEM_COMMIT | MEM_RESERVE, PAGE_EXECUTE_READWRITE));
  for (Counted& function : functions_) {
    WriteThunk(place, threads, &function.calls, function.original);
    WriteImport(function.slot, place);
    place += kThunkSize;
  }
  for (Counted& function : functions_) function.calls = 0;  // those of the writing above
}

CallTally::~CallTally() {
  for (const Counted& function : functions_) WriteImport(function.slot, function.original);
}

CallNumbers CallTally::Numbers() const {
  CallNumbers numbers;
  for (const Counted& function : functions_) numbers[function.name] = function.calls;
  return numbers;
}

}  // namespace veskard::bench
