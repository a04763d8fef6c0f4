#include "fs/util/NtFunctions.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "tests/support/WatchedCalls.h"

namespace veskard {
namespace {

TEST(NtFunctionsTest, BothAreResolved) {
  EXPECT_NE(ResolveNtQueryInformationFile(), nullptr);
  EXPECT_NE(ResolveRtlTimeToSecondsSince1970(), nullptr);
  EXPECT_EQ(Nt().queryInformationFile, ResolveNtQueryInformationFile());
  EXPECT_EQ(Nt().timeToSecondsSince1970, ResolveRtlTimeToSecondsSince1970());
}

TEST(NtFunctionsTest, AllThreadsGetTheSame) {
  std::vector<NtFunctions*> seen(8);
  std::vector<std::thread> threads;
  for (NtFunctions*& place : seen) threads.emplace_back([&place] { place = &Nt(); });
  for (std::thread& thread : threads) thread.join();
  for (const NtFunctions* place : seen) EXPECT_EQ(place, &Nt());
}

TEST(NtFunctionsTest, TheQueryIsFoundByLoadingWhenTheModuleIsNotFound) {
  const test::FailingCall failing("GetModuleHandleA");
  const auto query = ResolveNtQueryInformationFile();
  EXPECT_TRUE(failing.Happened());
  EXPECT_EQ(query, Nt().queryInformationFile);
}

TEST(NtFunctionsTest, ASystemWithoutTheQueryGivesNull) {
  const test::FailingCall failing("GetProcAddress");
  EXPECT_EQ(ResolveNtQueryInformationFile(), nullptr);
}

TEST(NtFunctionsTest, ASystemWithoutTheConversionGivesNull) {
  const test::FailingCall failing("GetProcAddress");
  EXPECT_EQ(ResolveRtlTimeToSecondsSince1970(), nullptr);
}

TEST(NtFunctionsTest, ASystemWithoutTheLibraryGivesNull) {
  const test::FailingCall failing("LoadLibraryA");
  const auto convert = ResolveRtlTimeToSecondsSince1970();
  EXPECT_EQ(convert, nullptr);
}

}  // namespace
}  // namespace veskard
