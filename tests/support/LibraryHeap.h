// LibraryHeap: stands between a loaded library and its heap.
#pragma once

#include <windows.h>

#include <cstddef>

#include "tests/support/ImportPatch.h"

namespace veskard::test {

/// While it lives, counts the blocks that the library takes from the C heap and
/// frees again, and can refuse one of them. One at a time; made and destroyed
/// while no thread of the library runs.
class LibraryHeap {
 public:
  explicit LibraryHeap(HMODULE library);

  /// Blocks taken less blocks freed since it was made, by whatever thread.
  static ptrdiff_t LiveBlocks() noexcept;

  /// Refuses the calling thread's request number `number` from now (from 1), and
  /// no other one; 0 refuses none.
  static void FailRequest(size_t number) noexcept;
  /// Whether the request to be refused has come.
  static bool HasFailed() noexcept;

 private:
  ImportPatch malloc_;
  ImportPatch calloc_;
  ImportPatch realloc_;
  ImportPatch free_;
};

}  // namespace veskard::test
