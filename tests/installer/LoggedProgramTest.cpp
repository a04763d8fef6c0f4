#include "tools/installer_steps/LoggedProgram.h"

#include <gmock/gmock.h>

#include <stdexcept>

#include "tests/support/ChildProcess.h"

namespace veskard::test {
namespace {

using testing::ElementsAre;
using testing::SizeIs;

constexpr DWORD kLongEnough = 60'000;

class LoggedProgramTest : public testing::Test {
 protected:
  DWORD Run(const std::wstring& arguments, DWORD limit = kLongEnough) {
    return RunLoggedProgram(L"\"" + BuiltTestProgram(L"shell_stand_in.exe") + L"\" " + arguments, limit,
                            [this](const std::wstring& line) { lines_.push_back(line); });
  }

  std::vector<std::wstring> lines_;
};

TEST_F(LoggedProgramTest, ASuccessAddsNothingToWhatTheProgramPrints) {
  EXPECT_EQ(Run(L"lines 2"), 0u);
  EXPECT_THAT(lines_, ElementsAre(L"line 0", L"line 1"));
}

TEST_F(LoggedProgramTest, AnExitCodeIsAnsweredAndLogged) {
  EXPECT_EQ(Run(L"code -2146762487"), 0x800B0109u);
  EXPECT_THAT(lines_, ElementsAre(L"the program ended with 0x800B0109"));
}

TEST_F(LoggedProgramTest, MoreThanAPipeHoldsDoesNotStopTheProgram) {
  EXPECT_EQ(Run(L"lines 20000"), 0u);
  ASSERT_THAT(lines_, SizeIs(20000));
  EXPECT_EQ(lines_.back(), L"line 19999");
}

TEST_F(LoggedProgramTest, LinesArePutTogetherAndBlankOnesLeftOut) {
  EXPECT_EQ(Run(L"torn"), 0u);
  EXPECT_THAT(lines_, ElementsAre(L"one line", L"no end"));
}

TEST_F(LoggedProgramTest, AProgramThatReadsItsInputFindsTheEndOfIt) {
  EXPECT_EQ(Run(L"input"), 0u);
  EXPECT_THAT(lines_, ElementsAre(L"the end"));
}

TEST_F(LoggedProgramTest, AProgramThatDoesNotEndIsTerminated) {
  EXPECT_EQ(Run(L"forever", 1000), static_cast<DWORD>(ERROR_TIMEOUT));
  EXPECT_THAT(lines_, ElementsAre(L"begun", L"the program did not end in time"));
}

TEST_F(LoggedProgramTest, AProgramThatIsNotThereIsLogged) {
  const auto log = [this](const std::wstring& line) { lines_.push_back(line); };
  EXPECT_EQ(RunLoggedProgram(L"\"C:\\no such program.exe\" x", kLongEnough, log),
            static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
  EXPECT_THAT(lines_, ElementsAre(L"the program could not be started: error 0x00000002"));
}

TEST_F(LoggedProgramTest, WhatTheLogThrowsComesThrough) {
  const auto log = [](const std::wstring&) { throw std::runtime_error("full"); };
  EXPECT_THROW(RunLoggedProgram(L"\"C:\\no such program.exe\"", kLongEnough, log), std::runtime_error);
}

}  // namespace
}  // namespace veskard::test
