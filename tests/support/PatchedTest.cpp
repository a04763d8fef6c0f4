#include "tests/support/Patched.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

namespace veskard::test {
namespace {

TEST(PatchedTest, AnswersForAsLongAsItLives) {
  {
    const Patched<&::GetFileAttributesW> patched("GetFileAttributesW", [](auto...) { return 77; });
    EXPECT_EQ(::GetFileAttributesW(L"C:\\"), 77u);
  }
  EXPECT_NE(::GetFileAttributesW(L"C:\\"), 77u);
}

TEST(PatchedTest, HandsTheOriginalAndTheArgumentsOn) {
  const DWORD expected = ::GetFileAttributesW(L"C:\\");
  std::wstring asked;
  const Patched<&::GetFileAttributesW> patched("GetFileAttributesW", [&](auto original, LPCWSTR path) {
    asked = path;
    return original(path);
  });
  EXPECT_EQ(::GetFileAttributesW(L"C:\\"), expected);
  EXPECT_EQ(asked, L"C:\\");
}

TEST(PatchedTest, AFunctionIsNotPatchedTwice) {
  const Patched<&::GetFileAttributesW> older("GetFileAttributesW", [](auto...) { return 77; });
  EXPECT_NONFATAL_FAILURE(
      {
        const Patched<&::GetFileAttributesW> newer("GetFileAttributesW", [](auto...) { return 78; });
        EXPECT_EQ(::GetFileAttributesW(L"C:\\"), 77u);
      },
      "GetFileAttributesW is patched twice");
  EXPECT_EQ(::GetFileAttributesW(L"C:\\"), 77u);
}

}  // namespace
}  // namespace veskard::test
