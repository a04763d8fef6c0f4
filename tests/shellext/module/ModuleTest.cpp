#include "shellext/module/Module.h"

#include <gtest/gtest.h>

#include "core/ModuleHandle.h"
#include "shellext/module/DiagnosticLog.h"
#include "tests/support/RegistrySandbox.h"

namespace veskard {
namespace {

TEST(ModuleTest, ThePathIsThereOnceTheModuleIsPrepared) {
  // Of the first time, should the tests be repeated: it stays for the process.
  static const std::wstring before = ModulePath();
  EXPECT_EQ(before, L"");

  // The log that is made too has nowhere to write to.
  const test::RegistrySandbox registry;
  registry.SetApplicationData(L"C:\\veskard_no_such_folder");
  PrepareModule();
  EXPECT_NE(ModulePath(), L"");
  EXPECT_EQ(ModulePath(), ReadModulePath(ModuleHandle()));
  CloseLogAtDetach(Detach::kUnload);
}

}  // namespace
}  // namespace veskard
