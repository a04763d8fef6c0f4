#include "core/LateLibrary.h"

#include <gtest/gtest.h>

#include <cwchar>
#include <string>

#include "tests/support/ScratchFolder.h"
#include "tests/support/WatchedCalls.h"
#include "tools/common/ImportSlot.h"

namespace veskard {
namespace {

// A small library of the system that nothing else in this program loads.
constexpr wchar_t kSystemLibrary[] = L"lz32.dll";
constexpr int kMissing = -1234;

using LzStart = INT(WINAPI*)();

extern LateLibrary systemLibrary;
VESKARD_LATE constinit LateFunction<LzStart, kMissing> lzStart(systemLibrary, "LZStart");
constinit LateSlot* const slots[] = {&lzStart};
constinit LateLibrary systemLibrary(kSystemLibrary, slots);

bool IsLoaded(const wchar_t* name) {
  return ::GetModuleHandleW(name) != nullptr;
}

std::wstring PathOf(const wchar_t* name) {
  wchar_t path[MAX_PATH] = {};
  ::GetModuleFileNameW(::GetModuleHandleW(name), path, MAX_PATH);
  return path;
}

std::wstring InSystemFolder(const wchar_t* name) {
  wchar_t folder[MAX_PATH] = {};
  ::GetSystemDirectoryW(folder, MAX_PATH);
  return std::wstring(folder) + L"\\" + name;
}

/// One late function, made and given back by each test.
struct Late {
  explicit Late(const wchar_t* fileName = kSystemLibrary, const char* function = "LZStart")
      : start(library, function), slot(&start), library(fileName, {&slot, 1}) {}

  LateFunction<LzStart, kMissing> start;
  LateSlot* slot;
  LateLibrary library;
};

TEST(LateLibraryTest, IsLoadedByTheFirstCallAndFreedInTheEnd) {
  {
    Late late;
    EXPECT_FALSE(IsLoaded(kSystemLibrary));
    EXPECT_NE(late.start(), kMissing);
    EXPECT_EQ(::_wcsicmp(PathOf(kSystemLibrary).c_str(), InSystemFolder(kSystemLibrary).c_str()), 0);
  }
  EXPECT_FALSE(IsLoaded(kSystemLibrary));
}

TEST(LateLibraryTest, WhatIsInUseStaysLoaded) {
  {
    Late late;
    EXPECT_TRUE(late.library.Load());
    late.library.SetInUse(true);
  }
  ASSERT_TRUE(IsLoaded(kSystemLibrary));
  ::FreeLibrary(::GetModuleHandleW(kSystemLibrary));
  EXPECT_FALSE(IsLoaded(kSystemLibrary));
}

TEST(LateLibraryTest, ItIsLoadedOnce) {
  const test::WatchedCalls calls{"LoadLibraryExW", "GetProcAddress"};
  Late late;
  for (int i = 0; i < 3; ++i) EXPECT_NE(late.start(), kMissing);
  EXPECT_EQ(calls.Of("LoadLibraryExW"), 1);
  EXPECT_EQ(calls.Of("GetProcAddress"), 1);
}

TEST(LateLibraryTest, AMissingLibraryAndAMissingFunctionAnswerTheFailure) {
  EXPECT_EQ(Late(L"veskard no such library.dll").start(), kMissing);
  EXPECT_EQ(Late(kSystemLibrary, "NoSuchFunction").start(), kMissing);
  EXPECT_FALSE(IsLoaded(kSystemLibrary)) << "a useless library is freed";
}

TEST(LateLibraryTest, AFailureIsNotKept) {
  for (const char* function : {"LoadLibraryExW", "GetProcAddress"}) {
    Late late;
    {
      const test::FailingCall failing(function);
      EXPECT_EQ(late.start(), kMissing);
      EXPECT_TRUE(failing.Happened());
    }
    EXPECT_NE(late.start(), kMissing) << function;
  }
}

TEST(LateLibraryTest, WithOneFunctionMissingThereAreNone) {
  struct Two {
    LateFunction<LzStart, kMissing> there{library, "LZStart"};
    LateFunction<LzStart, kMissing> missing{library, "NoSuchFunction"};
    LateSlot* slots[2] = {&there, &missing};
    LateLibrary library{kSystemLibrary, slots};
  } two;
  EXPECT_EQ(two.there(), kMissing);
  EXPECT_EQ(two.missing(), kMissing);
  EXPECT_FALSE(IsLoaded(kSystemLibrary));
}

/// A library's file where it must not be found: beside this program, and in its current
/// folder. An ordinary look finds it there.
class PlantedLibraryTest : public testing::TestWithParam<bool> {
 protected:
  PlantedLibraryTest() {
    ::GetCurrentDirectoryW(MAX_PATH, before_);
    ::GetModuleFileNameW(nullptr, program_, MAX_PATH);
    const std::wstring beside = std::wstring(program_).substr(0, std::wstring(program_).rfind(L'\\'));
    const bool isBesideProgram = GetParam();
    planted_ = (isBesideProgram ? beside : folder_.Path()) + L"\\" + kName;
    EXPECT_TRUE(::SetCurrentDirectoryW(folder_.Path().c_str()));
    EXPECT_TRUE(::CopyFileW((beside + L"\\planted_library.dll").c_str(), planted_.c_str(), FALSE));
  }
  ~PlantedLibraryTest() override {
    ::SetCurrentDirectoryW(before_);
    ::DeleteFileW(planted_.c_str());
  }

  void ExpectToBeFoundOnlyByAnOrdinaryLook() {
    LateLibrary late(kName, {});
    EXPECT_FALSE(late.Load());
    EXPECT_FALSE(IsLoaded(kName));
    const HMODULE ordinary = ::LoadLibraryW(kName);
    EXPECT_NE(ordinary, nullptr);
    ::FreeLibrary(ordinary);
  }

  static constexpr const wchar_t* kName = L"veskard_planted.dll";

 private:
  const test::ScratchFolder folder_;
  wchar_t before_[MAX_PATH] = {};
  wchar_t program_[MAX_PATH] = {};
  std::wstring planted_;
};
INSTANTIATE_TEST_SUITE_P(BesideTheProgramAndInTheCurrentFolder, PlantedLibraryTest, testing::Bool());

TEST_P(PlantedLibraryTest, IsNotLoaded) {
  ExpectToBeFoundOnlyByAnOrdinaryLook();
}

// Windows 7 as it came does not know the flag.
TEST_P(PlantedLibraryTest, IsNotLoadedOnASystemThatIsTooOldForTheFlag) {
  const test::FailingCall old("LoadLibraryExW", ERROR_INVALID_PARAMETER);
  ExpectToBeFoundOnlyByAnOrdinaryLook();
  EXPECT_TRUE(old.Happened());
}

TEST(LateLibraryTest, ASystemThatIsTooOldForTheFlagLoadsByTheFullPath) {
  {
    const test::FailingCall old("LoadLibraryExW", ERROR_INVALID_PARAMETER);
    Late late;
    EXPECT_NE(late.start(), kMissing);
    EXPECT_TRUE(old.Happened());
  }
  {
    const test::WatchedCalls calls{{"LoadLibraryExW", ERROR_INVALID_PARAMETER}, "GetSystemDirectoryW"};
    const test::ArmedFault all(
        {.kind = test::FaultKind::kSystemCall, .number = 1, .span = test::FaultSpan::kFromThen});
    EXPECT_FALSE(Late().library.Load()) << "nor is the folder known";
    EXPECT_EQ(calls.Of("GetSystemDirectoryW"), 1);
    EXPECT_EQ(calls.Of("LoadLibraryExW"), 1);
  }
}

INT WINAPI StandIn() {
  return 4321;
}

// As the tests' watch over system calls needs it.
TEST(LateSlotTest, IsFoundAmongTheModulesImports) {
  void** const slot = FindImport(::GetModuleHandleW(nullptr), "LZStart");
  ASSERT_NE(slot, nullptr);
  void* const before = *slot;
  WriteImport(slot, reinterpret_cast<void*>(&StandIn));
  EXPECT_EQ(lzStart(), 4321);
  WriteImport(slot, before);
  EXPECT_NE(lzStart(), 4321);
  ::FreeLibrary(::GetModuleHandleW(kSystemLibrary));
  lzStart.address = nullptr;
}

}  // namespace
}  // namespace veskard
