#include "tests/support/ImportPatch.h"

#include <gtest/gtest.h>

#include <cstring>

#include "tests/support/ModuleImports.h"

namespace veskard::test {
namespace {

/// Where the loader wrote the function's address; null when it is not imported.
void** FindImport(HMODULE module, const char* function) {
  void** found = nullptr;
  ForEachImport(module, [&](const char* name, void** slot) {
    if (found == nullptr && std::strcmp(name, function) == 0) found = slot;
  });
  return found;
}

}  // namespace

ImportPatch::ImportPatch(HMODULE module, const char* function, void* replacement)
    : slot_(FindImport(module != nullptr ? module : ::GetModuleHandleW(nullptr), function)) {
  EXPECT_NE(slot_, nullptr) << function << " is not imported";
  if (slot_ == nullptr) return;
  original_ = *slot_;
  WriteImport(slot_, replacement);
}

ImportPatch::~ImportPatch() {
  if (slot_ != nullptr) WriteImport(slot_, original_);
}

}  // namespace veskard::test
