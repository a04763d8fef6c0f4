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
#include "tests/support/ImportPatch.h"

namespace veskard {
namespace {

namespace gdip = Gdiplus::DllExports;
using test::IconHandler;
using test::IsCacheFree;

// --- The cache's lock --------------------------------------------------------

// Looks at the lock while one function is called.
template <auto kFunction>
class LockProbe;

template <class Answer, class... Args, Answer(WINAPI* kFunction)(Args...)>
class LockProbe<kFunction> {
 public:
  explicit LockProbe(const char* name) : patch_(nullptr, name, reinterpret_cast<void*>(&Look)) {
    original_ = patch_.Original();
    calls_ = callsWhileFree_ = 0;
  }
  // Whether there were calls, and the lock was held in all of them.
  bool WasHeld() const { return calls_ != 0 && callsWhileFree_ == 0; }

 private:
  static Answer WINAPI Look(Args... args) {
    ++calls_;
    if (IsCacheFree()) ++callsWhileFree_;
    return reinterpret_cast<Answer(WINAPI*)(Args...)>(original_)(args...);
  }

  static inline void* original_ = nullptr;
  static inline int calls_ = 0, callsWhileFree_ = 0;
  const test::ImportPatch patch_;
};

class IconLockTest : public testing::Test {
 protected:
  test::PlaceholderFolder folder_;
  const std::wstring report_ = folder_.Mark(L"report.txt.ghpl", {45});
};

TEST_F(IconLockTest, IsHeldFromTheTypesIconToTheFinishedOne) {
  const IconHandler handler(report_);
  const LockProbe<&::SHGetFileInfoW> begin("SHGetFileInfoW");
  const LockProbe<&gdip::GdipDrawImageRectI> middle("GdipDrawImageRectI");
  const LockProbe<&::CreateIconIndirect> end("CreateIconIndirect");
  handler.Extract();
  EXPECT_TRUE(begin.WasHeld());
  EXPECT_TRUE(middle.WasHeld());
  EXPECT_TRUE(end.WasHeld());
  EXPECT_TRUE(IsCacheFree());
}

TEST_F(IconLockTest, IsHeldWhileAHandlersEndEmptiesTheCache) {
  std::optional<IconHandler> handler(report_);
  handler->Extract();
  const LockProbe<&gdip::GdipDisposeImage> disposal("GdipDisposeImage");
  handler.reset();
  EXPECT_TRUE(disposal.WasHeld());
  EXPECT_TRUE(IsCacheFree());
}

// --- The end of a handler ----------------------------------------------------

// What is left at the moment when GDI+ is stopped.
struct AtShutdown {
  static inline int stops = 0;
  static inline size_t entries = 0;
  static inline uint32_t moduleUsers = 0;

  static void WINAPI Look(ULONG_PTR token) {
    ++stops;
    entries = SharedIconCache().Size();
    moduleUsers = ModuleLockCount();
    reinterpret_cast<decltype(&Gdiplus::GdiplusShutdown)>(original)(token);
  }
  static inline void* original = nullptr;
};

TEST(IconHandlerEndTest, EmptiesTheCacheThenStopsGdiplusThenLeavesTheModule) {
  const test::ImportPatch patch(nullptr, "GdiplusShutdown", reinterpret_cast<void*>(&AtShutdown::Look));
  AtShutdown::original = patch.Original();
  const uint32_t moduleUsers = ModuleLockCount();
  test::PlaceholderFolder folder;
  IconHandler(folder.Mark(L"report.txt.ghpl", {45})).Extract();
  EXPECT_EQ(AtShutdown::stops, 1);
  EXPECT_EQ(AtShutdown::entries, 0u);
  EXPECT_EQ(AtShutdown::moduleUsers, moduleUsers + 1);
  EXPECT_EQ(ModuleLockCount(), moduleUsers);
}

}  // namespace
}  // namespace veskard
