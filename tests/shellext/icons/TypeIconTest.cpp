#include "shellext/icons/TypeIcon.h"

#include <gtest/gtest.h>

#include "tests/shellext/icons/StockFolder.h"
#include "tests/shellext/icons/TestPatterns.h"
#include "tests/support/StartedGdiplus.h"
#include "tests/support/TestFileType.h"

namespace veskard {
namespace {

using test::DrawnOnEmpty;
using test::Picture;
using test::PixelsOf;
using test::SeeThroughPattern;
using test::SolidPattern;
using test::TestFileType;

Picture TypeIcon(const wchar_t* name, bool large, bool isFolder = false) {
  return PixelsOf(GetTypeIcon(name, large, isFolder).Get());
}

// Wholly transparent.
bool IsBlank(const Picture& picture) {
  return picture == Picture(picture.width, picture.height);
}

class TypeIconTest : public testing::Test {
 protected:
  const test::StartedGdiplus gdiplus_;
};

TEST_F(TypeIconTest, LargeIsTheJumboIconAndSmallTheSmallOne) {
  const TestFileType type(
      L"vkall", {{SeeThroughPattern(16)}, {SolidPattern(32)}, {SolidPattern(48)}, {SeeThroughPattern(256)}});
  EXPECT_EQ(TypeIcon(L"C:\\absent\\report.vkall", true), DrawnOnEmpty(SeeThroughPattern(256)));
  EXPECT_EQ(TypeIcon(L"C:\\absent\\report.vkall", false), DrawnOnEmpty(SeeThroughPattern(16)));
}

TEST_F(TypeIconTest, ATypeWithASmallIconAloneHasALargeOneToo) {
  const TestFileType type(L"vksmall", {{SolidPattern(16)}});
  EXPECT_EQ(TypeIcon(L"report.vksmall", false), DrawnOnEmpty(SolidPattern(16)));
  const Picture large = TypeIcon(L"report.vksmall", true);
  EXPECT_EQ(large.width, 256);
  EXPECT_FALSE(IsBlank(large));
}

// Their pixels have no alpha to keep.
TEST_F(TypeIconTest, IconsWithoutAnAlphaChannelComeOutTransparent) {
  const TestFileType deep(L"vkdeep", {{SolidPattern(16), 24}, {SolidPattern(256), 24}});
  const TestFileType black(L"vkmono", {{SolidPattern(16), 1}, {SolidPattern(32), 1}});
  for (const wchar_t* name : {L"report.vkdeep", L"report.vkmono"}) {
    for (const bool large : {false, true}) {
      const Picture icon = TypeIcon(name, large);
      EXPECT_EQ(icon.width, large ? 256 : 16) << name;
      EXPECT_TRUE(IsBlank(icon)) << name;
    }
  }
}

TEST_F(TypeIconTest, NamesWithoutATypeHaveTheShellsPlainIcon) {
  for (const wchar_t* name : {L"C:\\absent\\README", L"C:\\absent\\file.nobodyknows", L".", L"x"}) {
    for (const bool large : {false, true}) {
      const Picture icon = TypeIcon(name, large);
      EXPECT_EQ(icon.width, large ? 256 : 16) << name;
      EXPECT_FALSE(IsBlank(icon)) << name;
    }
  }
}

TEST_F(TypeIconTest, AFolderLooksUnlikeAFileOfTheSameName) {
  for (const bool large : {false, true}) {
    const Picture folder = TypeIcon(L"C:\\absent\\music.vlk2fldr", large, true);
    EXPECT_FALSE(IsBlank(folder));
    EXPECT_NE(folder, TypeIcon(L"C:\\absent\\music.vlk2fldr", large, false));
  }
}

// The other branch: tests/shellext/icons/OldSystemIconTest.cpp.
TEST_F(TypeIconTest, OnANewSystemALargeFolderIsNotTheStockIcon) {
  ASSERT_FALSE(test::ClaimsToBeOldSystem());
  const Picture before = TypeIcon(L"C:\\absent\\music.vlk2fldr", true, true);
  const test::StockFolderPatch elsewhere(test::kOwnFolderIcon);
  EXPECT_EQ(TypeIcon(L"C:\\absent\\music.vlk2fldr", true, true), before);
}

// --- Which systems take the stock icon ---------------------------------------

struct SystemVersion {
  DWORD major = 0;
  DWORD minor = 0;

  auto operator<=>(const SystemVersion&) const = default;
};

// A system that claims to be of any version, and remembers what it was asked.
class ClaimedVersion {
 public:
  explicit ClaimedVersion(const SystemVersion& version) : version_(version) {}

  /// Whether every question was for a version at least as new, service pack 0.
  bool WasAskedWell() const noexcept { return questions_ > 0 && !odd_; }

 private:
  const SystemVersion version_;
  int questions_ = 0;
  bool odd_ = false;
  const test::Patched<&::VerifyVersionInfoW> patch_{
      "VerifyVersionInfoW", [this](auto, OSVERSIONINFOEXW* wanted, DWORD fields, DWORDLONG conditions) {
        constexpr DWORD kFields = VER_MAJORVERSION | VER_MINORVERSION | VER_SERVICEPACKMAJOR;
        DWORDLONG atLeast = ::VerSetConditionMask(0, VER_MAJORVERSION, VER_GREATER_EQUAL);
        atLeast = ::VerSetConditionMask(atLeast, VER_MINORVERSION, VER_GREATER_EQUAL);
        atLeast = ::VerSetConditionMask(atLeast, VER_SERVICEPACKMAJOR, VER_GREATER_EQUAL);
        ++questions_;
        odd_ |= wanted->dwOSVersionInfoSize != sizeof(*wanted) || wanted->wServicePackMajor != 0 ||
                fields != kFields || conditions != atLeast;
        return version_ >= SystemVersion{wanted->dwMajorVersion, wanted->dwMinorVersion};
      }};
};

TEST_F(TypeIconTest, FromSixUpToAndWithoutSixTwoALargeFolderIsTheStockIcon) {
  const Picture jumbo = TypeIcon(L"C:\\absent\\music.vlk2fldr", true, true);
  const test::StockFolderPatch elsewhere(test::kOwnFolderIcon);
  for (const SystemVersion& version :
       {SystemVersion{5, 1}, {5, 2}, {6, 0}, {6, 1}, {6, 2}, {6, 3}, {10, 0}}) {
    ClaimedVersion system(version);
    const bool isStock = version.major == 6 && version.minor < 2;
    EXPECT_EQ(TypeIcon(L"C:\\absent\\music.vlk2fldr", true, true) != jumbo, isStock)
        << version.major << "." << version.minor;
    EXPECT_TRUE(system.WasAskedWell());
  }
}

}  // namespace
}  // namespace veskard
