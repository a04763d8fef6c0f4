#include "shellext/contextmenu/DropNames.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "tests/support/DropData.h"
#include "tests/support/WatchedCalls.h"

namespace veskard {
namespace {

UINT LocksOf(HGLOBAL memory) {
  return ::GlobalFlags(memory) & GMEM_LOCKCOUNT;
}

TEST(DropNamesTest, GivesTheNamesOfTheListAndNoneBeyondItsEnd) {
  const test::DropListForTest list({L"C:\\a", L"C:\\bc"});
  const DropNames names(list.Get(), kLongestNameInMenu);
  EXPECT_EQ(names.Count(), 2u);
  EXPECT_EQ(names.At(0), L"C:\\a");
  EXPECT_EQ(names.At(1), L"C:\\bc");
  EXPECT_EQ(names.At(2), L"");
}

TEST(DropNamesTest, CutsNamesToWhatTheStepTakes) {
  const std::wstring longer(32771, L'x');
  const test::DropListForTest list({longer});
  EXPECT_EQ(DropNames(list.Get(), kLongestNameInMenu).At(0), longer.substr(0, 259));
  EXPECT_EQ(DropNames(list.Get(), kLongestNameInCommand).At(0), longer.substr(0, 32770));
}

TEST(DropNamesTest, HoldsTheBlockLockedWhileItLives) {
  const test::DropListForTest list({L"C:\\a"});
  {
    const DropNames names(list.Get(), kLongestNameInMenu);
    EXPECT_EQ(LocksOf(list.Get()), 1u);
  }
  EXPECT_EQ(LocksOf(list.Get()), 0u);
}

TEST(DropNamesTest, NoListHasNoNames) {
  EXPECT_EQ(DropNames(nullptr, kLongestNameInMenu).Count(), 0u);
}

TEST(DropNamesTest, ABlockThatCannotBeLockedHasNoNames) {
  const test::DropListForTest list({L"C:\\a"});
  const test::FailingCall refused("GlobalLock", ERROR_DISCARDED);
  EXPECT_EQ(DropNames(list.Get(), kLongestNameInMenu).Count(), 0u);
  EXPECT_TRUE(refused.Happened());
  EXPECT_EQ(LocksOf(list.Get()), 0u);
}

TEST(DropNamesTest, ABlockOfUnknownSizeHasNoNames) {
  const test::DropListForTest list({L"C:\\a"});
  const test::FailingCall refused("GlobalSize", ERROR_INVALID_HANDLE);
  EXPECT_EQ(DropNames(list.Get(), kLongestNameInMenu).Count(), 0u);
  EXPECT_TRUE(refused.Happened());
  EXPECT_EQ(LocksOf(list.Get()), 0u);
}

TEST(DropNamesTest, ADiscardedBlockHasNoNames) {
  const HGLOBAL discarded = ::GlobalAlloc(GMEM_MOVEABLE, 0);
  EXPECT_EQ(DropNames(static_cast<HDROP>(discarded), kLongestNameInMenu).Count(), 0u);
  ::GlobalFree(discarded);
}

TEST(DropNamesTest, AFixedBlockIsReadAsWell) {
  const test::DropListForTest movable({L"C:\\a"});
  const HGLOBAL fixed = ::GlobalAlloc(GPTR, ::GlobalSize(movable.Get()));
  std::memcpy(fixed, ::GlobalLock(movable.Get()), ::GlobalSize(movable.Get()));
  ::GlobalUnlock(movable.Get());
  EXPECT_EQ(DropNames(static_cast<HDROP>(fixed), kLongestNameInMenu).At(0), L"C:\\a");
  ::GlobalFree(fixed);
}

TEST(DropNamesTest, LocksTheBlockOnceForAnyNumberOfNames) {
  const test::DropListForTest list(std::vector<std::wstring>(16000, L"C:\\a"));
  const test::WatchedCalls calls{"GlobalLock", "GlobalSize", "GlobalUnlock"};
  {
    const DropNames names(list.Get(), kLongestNameInMenu);
    for (uint32_t i = 0; i < names.Count(); ++i) EXPECT_EQ(names.At(i), L"C:\\a");
  }
  EXPECT_EQ(calls.Of("GlobalLock"), 1);
  EXPECT_EQ(calls.Of("GlobalSize"), 1);
  EXPECT_EQ(calls.Of("GlobalUnlock"), 1);
}

}  // namespace
}  // namespace veskard
