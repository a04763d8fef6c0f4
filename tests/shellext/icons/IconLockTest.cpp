// What holds while an icon is composed and while its handler ends.
#include <windows.h>

#include <gtest/gtest.h>
#include <shellapi.h>

#include <optional>

#include "core/GdiplusOwners.h"
#include "shellext/icons/IconCache.h"
#include "shellext/module/Module.h"
#include "tests/shellext/icons/CacheAccess.h"
#include "tests/shellext/icons/IconHandler.h"
#include "tests/shellext/icons/PlaceholderFolder.h"
#include "tests/support/Patched.h"

namespace veskard {
namespace {

namespace gdip = Gdiplus::DllExports;
using test::IconHandler;
using test::IsCacheFree;

// --- The cache's lock --------------------------------------------------------

// Looks at the lock while one function is called.
template <auto kFunction>
class LockProbe {
 public:
  explicit LockProbe(const char* name)
      : patch_(name, [this](auto original, auto... args) {
          ++calls_;
          if (IsCacheFree()) ++callsWhileFree_;
          return original(args...);
        }) {}
  // Whether there were calls, and the lock was held in all of them.
  bool WasHeld() const { return calls_ != 0 && callsWhileFree_ == 0; }

 private:
  int calls_ = 0, callsWhileFree_ = 0;
  const test::Patched<kFunction> patch_;
};

class IconLockTest : public testing::Test {
 protected:
  test::PlaceholderFolder folder_;
  const std::wstring report_ = folder_.Mark(L"report.txt.ghpl", {45});
};

TEST_F(IconLockTest, IsHeldFromTheTypesIconToTheFinishedOne) {
  const IconHandler handler(report_);
  LockProbe<&::SHGetFileInfoW> begin("SHGetFileInfoW");
  LockProbe<&gdip::GdipDrawImageRectI> middle("GdipDrawImageRectI");
  LockProbe<&::CreateIconIndirect> end("CreateIconIndirect");
  handler.Extract();
  EXPECT_TRUE(begin.WasHeld());
  EXPECT_TRUE(middle.WasHeld());
  EXPECT_TRUE(end.WasHeld());
  EXPECT_TRUE(IsCacheFree());
}

TEST_F(IconLockTest, IsHeldWhileAHandlersEndEmptiesTheCache) {
  std::optional<IconHandler> handler(report_);
  handler->Extract();
  LockProbe<&gdip::GdipDisposeImage> disposal("GdipDisposeImage");
  handler.reset();
  EXPECT_TRUE(disposal.WasHeld());
  EXPECT_TRUE(IsCacheFree());
}

// --- The end of a handler ----------------------------------------------------

TEST(IconHandlerEndTest, EmptiesTheCacheThenStopsGdiplusThenLeavesTheModule) {
  int stops = 0;
  size_t entriesThen = 77;
  uint32_t moduleUsersThen = 0;
  const test::Patched<&Gdiplus::GdiplusShutdown> stop("GdiplusShutdown", [&](auto original, ULONG_PTR token) {
    ++stops;
    entriesThen = SharedIconCache().Size();
    moduleUsersThen = ModuleLockCount();
    original(token);
  });
  const uint32_t moduleUsers = ModuleLockCount();
  test::PlaceholderFolder folder;
  IconHandler(folder.Mark(L"report.txt.ghpl", {45})).Extract();
  EXPECT_EQ(stops, 1);
  EXPECT_EQ(entriesThen, 0u);
  EXPECT_EQ(moduleUsersThen, moduleUsers + 1);
  EXPECT_EQ(ModuleLockCount(), moduleUsers);
}

}  // namespace
}  // namespace veskard
