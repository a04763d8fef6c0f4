#include "fs/util/NtFunctions.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "tests/support/FailingCalls.h"

namespace veskard {
namespace {

using test::CallCounter;
using test::Watch;

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
  test::FailingCalls calls{Watch<&::GetModuleHandleA>("GetModuleHandleA", nullptr)};
  CallCounter::Arm(1);
  const auto query = ResolveNtQueryInformationFile();
  CallCounter::Disarm();
  EXPECT_EQ(CallCounter::Failed().number, 1u);
  EXPECT_EQ(query, Nt().queryInformationFile);
}

TEST(NtFunctionsTest, ASystemWithoutTheQueryGivesNull) {
  test::FailingCalls calls{Watch<&::GetProcAddress>("GetProcAddress", nullptr)};
  CallCounter::Arm(1);
  const auto query = ResolveNtQueryInformationFile();
  CallCounter::Arm(1);
  const auto convert = ResolveRtlTimeToSecondsSince1970();
  CallCounter::Disarm();
  EXPECT_EQ(query, nullptr);
  EXPECT_EQ(convert, nullptr);
}

TEST(NtFunctionsTest, ASystemWithoutTheLibraryGivesNull) {
  test::FailingCalls calls{Watch<&::LoadLibraryA>("LoadLibraryA", nullptr)};
  CallCounter::Arm(1);
  const auto convert = ResolveRtlTimeToSecondsSince1970();
  CallCounter::Disarm();
  EXPECT_EQ(convert, nullptr);
}

}  // namespace
}  // namespace veskard
