#include "core/WindowsOwners.h"

#include <gtest/gtest.h>

namespace veskard {
namespace {

TEST(LastErrorKeeperTest, ClosingAHandleKeepsTheLastError) {
  UniqueHandle event(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
  ASSERT_TRUE(event);
  ::SetLastError(1234);
  event.Reset();
  EXPECT_EQ(::GetLastError(), 1234u);
}

TEST(LastErrorKeeperTest, ClosingADeadHandleKeepsTheLastError) {
  HANDLE raw = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
  ASSERT_NE(raw, nullptr);
  UniqueHandle first(raw);
  first.Reset();
  UniqueFile second(raw);
  ::SetLastError(1234);
  second.Reset();
  EXPECT_EQ(::GetLastError(), 1234u);
}

TEST(WindowsOwnersTest, FileOwnerClosesTheHandle) {
  HANDLE raw = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
  { const UniqueFile owner(raw); }
  DWORD flags = 0;
  EXPECT_FALSE(::GetHandleInformation(raw, &flags));
}

TEST(WindowsOwnersTest, AFileOwnerWithoutAFileIsEmpty) {
  EXPECT_FALSE(UniqueFile());
  EXPECT_FALSE(UniqueFile(INVALID_HANDLE_VALUE));
}

}  // namespace
}  // namespace veskard
