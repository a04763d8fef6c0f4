#include "tests/support/ImportPatch.h"

#include <gtest/gtest.h>

#include "tools/common/ImportSlot.h"

namespace veskard::test {

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
