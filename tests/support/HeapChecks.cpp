#include "tests/support/HeapChecks.h"

#include <malloc.h>
#include <windows.h>

#include <array>
#include <atomic>
#include <cstdlib>

#include "tools/common/ImportSlot.h"

namespace veskard::test {
namespace {

std::atomic<int> damagedBlocks = 0;

void CheckBlock(void* block) {
  const auto heap = reinterpret_cast<HANDLE>(_get_heap_handle());
  if (block != nullptr && !::HeapValidate(heap, 0, block)) ++damagedBlocks;
}

// The C run-time library's own, which the modules had before.
decltype(&std::free) runTimeFree = nullptr;
decltype(&std::realloc) runTimeReallocate = nullptr;

void CheckAndFree(void* block) {
  CheckBlock(block);
  runTimeFree(block);
}

void* CheckAndReallocate(void* block, size_t size) {
  CheckBlock(block);
  return runTimeReallocate(block, size);
}

template <class Function>
void Replace(HMODULE module, const char* name, Function* replacement, Function*& original) {
  void** const slot = FindImport(module, name);
  if (slot == nullptr) return;  // it has no use for it
  if (original == nullptr) original = reinterpret_cast<Function*>(*slot);
  WriteImport(slot, reinterpret_cast<void*>(replacement));
}

void Watch(HMODULE module) {
  Replace(module, "free", &CheckAndFree, runTimeFree);
  Replace(module, "realloc", &CheckAndReallocate, runTimeReallocate);
}

bool AreAllHeapsWhole() {
  std::array<HANDLE, 64> heaps{};
  const DWORD count = ::GetProcessHeaps(static_cast<DWORD>(heaps.size()), heaps.data());
  for (DWORD i = 0; i < count && i < heaps.size(); ++i) {
    if (!::HeapValidate(heaps[i], 0, nullptr)) return false;
  }
  return true;
}

}  // namespace

bool HeapChecks::AreWanted() {
  return std::getenv("VESKARD_HEAP_CHECKS") != nullptr;
}

HeapChecks::HeapChecks() : observer_(L"VeskardShellExt.dll", &Watch) {
  Watch(::GetModuleHandleW(nullptr));
}

void HeapChecks::OnTestEnd(const testing::TestInfo& test) {
  const int damaged = damagedBlocks.exchange(0);
  if (damaged != 0) ADD_FAILURE() << test.name() << " gave back damaged blocks: " << damaged;
  if (!AreAllHeapsWhole()) ADD_FAILURE() << test.name() << " left a damaged heap";
}

}  // namespace veskard::test
