// ImportPatch: replaces a function that a loaded module imports, for that module
// alone, so that a test can intercept the system calls of a shipped binary.
#pragma once

#include <windows.h>

namespace veskard::test {

/// Replaces the import for its lifetime. The test fails when the module
/// does not import the function; a null module is the test itself. Not while
/// another thread is calling it.
class ImportPatch {
 public:
  ImportPatch(HMODULE module, const char* function, void* replacement);
  ~ImportPatch();
  ImportPatch(const ImportPatch&) = delete;
  ImportPatch& operator=(const ImportPatch&) = delete;

  /// The function that the module called before.
  void* Original() const noexcept { return original_; }

 private:
  void** slot_ = nullptr;
  void* original_ = nullptr;
};

/// The same with a function's own type.
template <class Function>
class FunctionPatch {
 public:
  FunctionPatch(HMODULE module, const char* name, Function* replacement)
      : patch_(module, name, reinterpret_cast<void*>(replacement)) {}
  template <class... Args>
  auto CallOriginal(Args... args) const {
    return reinterpret_cast<Function*>(patch_.Original())(args...);
  }

 private:
  ImportPatch patch_;
};

}  // namespace veskard::test
