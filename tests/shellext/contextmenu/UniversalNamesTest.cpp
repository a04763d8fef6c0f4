#include "shellext/contextmenu/UniversalNames.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "tests/shellext/contextmenu/StandInNetwork.h"

namespace veskard {
namespace {

using test::Answers;
using test::StandInNetwork;
using test::UniversalNameByItself;

constexpr Answers kAllAnswers[] = {Answers::kLiterally, Answers::kTidily, Answers::kSharesBare};

// One batch after the other, so that each path is both the first on its drive and not.
template <class Paths>
void ExpectSameAsByItself(const Paths& paths) {
  for (const Answers answers : kAllAnswers) {
    UniversalNames batch(StandInNetwork(answers));
    for (const std::wstring& path : paths) {
      const std::wstring expected = UniversalNameByItself(path);
      EXPECT_EQ(batch.Of(path), expected) << "as one of many";
      EXPECT_EQ(UniversalNames(StandInNetwork(answers)).Of(path), expected) << "as the first";
      EXPECT_EQ(batch.Of(path), expected) << "once more";
    }
  }
}

TEST(UniversalNamesTest, APathOnAMappedDriveHasItsUncForm) {
  UniversalNames names(StandInNetwork());
  EXPECT_EQ(names.Of(L"X:\\docs\\a.txt"), L"\\\\server\\share\\docs\\a.txt");
  EXPECT_EQ(names.Of(L"x:\\\u00E4"), L"\\\\server\\share\\\u00E4");
  EXPECT_EQ(names.Of(L"Y:\\b"), L"\\\\server\\share\\a folder\\below\\b");
  EXPECT_EQ(names.Of(L"X:\\"), L"\\\\server\\share\\");
  EXPECT_EQ(names.Of(L"X:"), L"\\\\server\\share");
}

TEST(UniversalNamesTest, AllOtherPathsStayAsTheyAre) {
  UniversalNames names(StandInNetwork());
  for (const wchar_t* path : {L"C:\\a", L"C:", L"C:a", L"c:/a", L"Q:\\a", L"V:\\a", L"R:\\a", L"O:\\a",
                              L"P:\\a", L"L:\\a", L"\\\\server\\share\\a", L"\\\\?\\X:\\a", L"a\\b", L""})
    EXPECT_EQ(names.Of(path), path);
}

TEST(UniversalNamesTest, OddPathsHaveTheNamesThatTheyHaveByThemselves) {
  std::vector<std::wstring> paths = {L"",   L"a", L"a\\b", L"\\",    L"\\a",
                                     L"/a", L":", L":\\",  L"1:\\a", L"\u00C4:\\a"};
  for (const wchar_t* share :
       {L"\\\\", L"\\\\s", L"\\\\s\\h", L"\\\\s\\h\\", L"\\\\s\\h\\a", L"//s/h/a", L"\\\\?\\",
        L"\\\\?\\X:\\a", L"\\\\?\\UNC\\s\\h\\a", L"\\\\.\\X:", L"\\??\\X:\\a"})
    paths.emplace_back(share);
  for (const wchar_t drive : std::wstring(L"ACDEFLOPQRVXYcxy")) {
    for (const wchar_t* rest :
         {L"",        L"\\",     L"/",          L"a",     L"\\a",      L"/a",
          L"\\a\\",   L"\\a\\b", L"\\a/b",      L"\\\\a", L"\\a\\\\b", L"\\.",
          L"\\..",    L"\\.\\a", L"\\a\\..\\b", L"\\a.",  L"\\a.\\b",  L"\\a ",
          L"\\a \\b", L"\\a.b",  L"\\ a",       L"\\.a",  L"\\a:s",    L"\\\u00E4\u20AC\xD83D\xDE00",
          L".",       L" ",      L"..\\a",      L":"})
      paths.push_back(std::wstring(1, drive) + L':' + rest);
  }
  ExpectSameAsByItself(paths);
}

// The system's buffer has room for 32,767 characters.
TEST(UniversalNamesTest, LongPathsHaveTheNamesThatTheyHaveByThemselves) {
  std::vector<std::wstring> paths;
  for (const size_t length : {257u, 258u, 259u, 260u, 261u, 32000u, 32767u, 32768u, 32770u, 40000u}) {
    for (const size_t shorter : {0u, 11u, 12u, 13u, 28u, 29u, 30u}) {
      for (const wchar_t* begin : {L"C:\\", L"X:\\", L"X:", L"Y:\\", L"X:/", L"\\\\s\\h\\"})
        paths.push_back(begin + std::wstring(length - shorter, L'x'));
    }
  }
  ExpectSameAsByItself(paths);
}

TEST(UniversalNamesTest, RandomPathsHaveTheNamesThatTheyHaveByThemselves) {
  const std::wstring characters = L"XYCxVQa\\\\\\\\:::./ ?";
  std::mt19937 random(20240607);
  std::vector<std::wstring> paths(10000);
  for (std::wstring& path : paths) {
    for (size_t length = random() % 12; length > 0; --length)
      path += characters[random() % characters.size()];
    if (random() % 2 == 0) path.insert(0, random() % 2 == 0 ? L"X:\\" : L"X:");
  }
  ExpectSameAsByItself(paths);
}

TEST(UniversalNamesTest, AMappedDriveIsAskedForOnce) {
  UniversalNames names(StandInNetwork());
  for (int i = 0; i < 1000; ++i) {
    const std::wstring number = std::to_wstring(i);
    EXPECT_EQ(names.Of((i % 2 == 0 ? L"X:\\" : L"x:\\") + number), L"\\\\server\\share\\" + number);
    EXPECT_EQ(names.Of(L"Y:\\a\\" + number), L"\\\\server\\share\\a folder\\below\\a\\" + number);
  }
  EXPECT_EQ(test::DriveTypesAsked(), 2);
  EXPECT_EQ(test::UniversalNamesAsked(), 2);
}

TEST(UniversalNamesTest, TheNetworkIsNotAskedForLocalDrivesAndShares) {
  UniversalNames names(StandInNetwork());
  for (const wchar_t* path : {L"A:\\a", L"C:\\a", L"C:", L"C:a", L"c:/a", L"D:\\a", L"E:\\a", L"F:\\a"})
    names.Of(path);
  EXPECT_EQ(test::DriveTypesAsked(), 5);
  names.Of(L"\\\\server\\share\\a");
  EXPECT_EQ(test::DriveTypesAsked(), 5);
  EXPECT_EQ(test::UniversalNamesAsked(), 0);
}

// Each question may last until a server does not answer.
TEST(UniversalNamesTest, ADriveWithoutAnAnswerIsAskedForOnceToo) {
  for (const wchar_t drive : std::wstring(L"LOPQRV")) {
    UniversalNames names(StandInNetwork());
    for (int i = 0; i < 10; ++i) names.Of(std::wstring(1, drive) + L":\\" + std::to_wstring(i));
    EXPECT_EQ(test::UniversalNamesAsked(), 1) << static_cast<char>(drive);
  }
}

TEST(UniversalNamesTest, TheSystemItselfLeavesALocalPathAlone) {
  EXPECT_EQ(UniversalNames().Of(L"C:\\windows\\\u00E4.txt"), L"C:\\windows\\\u00E4.txt");
}

}  // namespace
}  // namespace veskard
