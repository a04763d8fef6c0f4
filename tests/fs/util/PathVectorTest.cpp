#include "fs/util/PathVector.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ostream>

namespace veskard {
namespace {

using testing::ElementsAre;
using Names = std::vector<std::wstring>;

// The rows of the table in the class's header comment.
struct PathRow {
  const wchar_t* text;
  Names components;
  const wchar_t* printed;
  wchar_t separator = kPathSeparator;
};

// clang-format off
const PathRow kPathRows[] = {
    {L"C:\\a\\\\b\\",            {L"C:", L"a", L"b"},                    L"C:\\a\\b"},
    {L"C:\\",                    {L"C:"},                                L"C:"},
    {L".\\x\\..\\y",             {L".", L"x", L"..", L"y"},              L".\\x\\..\\y"},
    {L"\\a\\b",                  {L"a", L"b"},                           L"a\\b"},
    {L"a/b/c",                   {L"a/b/c"},                             L"a/b/c"},
    {L"\\\\srv\\share\\dir",     {L"\\", L"srv", L"share", L"dir"},      L"\\\\srv\\share\\dir"},
    {L"\\\\?\\C:",               {L"\\\\?\\C:"},                         L"\\\\?\\C:"},
    {L"\\\\?\\C:\\x\\y",         {L"\\\\?\\C:", L"x", L"y"},             L"\\\\?\\C:\\x\\y"},
    {L"\\\\?\\UNC\\srv\\sh\\f",  {L"\\\\?\\UNC", L"srv", L"sh", L"f"},   L"\\\\?\\UNC\\srv\\sh\\f"},
    {L"\\\\?\\UNC\\a",           {},                                     L""},
    {L"\\\\?\\GLOBALROOT\\x",    {},                                     L""},
    {L"//srv/share",             {L"//srv/share"},                       L"//srv/share"},
    {L"cloud:/s1/s2/s3/d/e.txt", {L"cloud://s1/s2/s3", L"d", L"e.txt"},  L"cloud://s1/s2/s3/d/e.txt", L'/'},
    {L"cloud:/s1/s2",            {L"cloud://"},                          L"cloud://", L'/'},
    {L"Cloud:/x/y/z",            {L"Cloud:/x/y/z"},                      L"Cloud:/x/y/z"},
    {L"",                        {},                                     L""},
    // Not in the header: borders of the rules.
    {L"\\\\",                    {},                                     L""},
    {L"\\\\s",                   {L"\\", L"s"},                          L"\\\\s"},
    {L"\\\\?\\",                 {L"\\", L"?"},                          L"\\\\?"},
    {L"\\\\?\\C",                {L"\\", L"?", L"C"},                    L"\\\\?\\C"},
    {L"\\\\?\\CC",               {},                                     L""},
    {L"\\\\?\\C:\\",             {L"\\\\?\\C:"},                         L"\\\\?\\C:"},
    {L"\\\\?\\C:xy",             {L"\\\\?\\C:", L"y"},                   L"\\\\?\\C:\\y"},
    {L"\\\\?\\UNC\\ab",          {L"\\\\?\\UNC", L"ab"},                 L"\\\\?\\UNC\\ab"},
    {L"\\\\?\\unc\\srv\\sh",     {},                                     L""},
    {L"\\\\\\srv\\\\share\\",    {L"\\", L"srv", L"share"},              L"\\\\srv\\share"},
    {L"cloud:",                  {L"cloud://"},                          L"cloud://", L'/'},
    {L"cloud://s1//s2/s3//d/",   {L"cloud://s1/s2/s3", L"d"},            L"cloud://s1/s2/s3/d", L'/'},
    {L"cloud:x/s1/s2/s3",        {L"cloud://"},                          L"cloud://", L'/'},
};
// clang-format on

class PathTableTest : public testing::TestWithParam<PathRow> {};

TEST_P(PathTableTest, ParsesAndPrintsBack) {
  const PathRow& row = GetParam();
  const PathVector path(row.text);
  EXPECT_EQ(path.Tokens(), row.components);
  EXPECT_EQ(path.Separator(), row.separator);
  EXPECT_EQ(path.ToString(path.Separator(), 0), row.printed);
}

INSTANTIATE_TEST_SUITE_P(Paths, PathTableTest, testing::ValuesIn(kPathRows));

TEST(PathVectorTest, PrintsTheFirstComponents) {
  const PathVector path(L"\\\\srv\\share\\dir");
  EXPECT_EQ(path.ToString(L'\\', 1), L"\\");
  EXPECT_EQ(path.ToString(L'\\', 3), L"\\\\srv\\share");
  EXPECT_EQ(path.ToString(L'\\', 4), L"\\\\srv\\share\\dir");
  EXPECT_EQ(path.ToString(L'\\', 99), L"\\\\srv\\share\\dir");
  EXPECT_EQ(path.ToString(L'|', 2), L"\\|srv");
}

TEST(PathVectorTest, PrintsIntoRoomForAPathOfTheUsualLength) {
  EXPECT_GE(PathVector(L"C:").ToString(L'\\', 0).capacity(), 256u);
  EXPECT_GE(PathVector(L"").ToString(L'\\', 0).capacity(), 256u);
}

TEST(PathVectorTest, DecidesAnUndecidedSeparatorByTheText) {
  const PathVector slashes(L"a/b/c", 0);
  EXPECT_EQ(slashes.Separator(), L'/');
  EXPECT_THAT(slashes.Tokens(), ElementsAre(L"a", L"b", L"c"));

  const PathVector backslashes(L"a\\b", 0);
  EXPECT_EQ(backslashes.Separator(), L'\\');
  EXPECT_THAT(backslashes.Tokens(), ElementsAre(L"a", L"b"));

  const PathVector both(L"a\\b/c", 0);
  EXPECT_THAT(both.Tokens(), ElementsAre(L"a\\b", L"c"));

  const PathVector nothing(L"", 0);
  EXPECT_EQ(nothing.Separator(), 0);
}

TEST(PathVectorTest, EqualsOnlyTheSameTextPartByPart) {
  const PathVector path(L"C:\\a\\b");
  EXPECT_TRUE(path.Equals(PathVector(L"C:\\a\\\\b\\")));
  EXPECT_FALSE(path.Equals(PathVector(L"C:\\A\\b")));
  EXPECT_FALSE(path.Equals(PathVector(L"C:\\a")));
  EXPECT_FALSE(path.Equals(PathVector(L"C:\\a\\c")));
  EXPECT_FALSE(PathVector(L"a", L'/').Equals(PathVector(L"a", L'\\')));
  EXPECT_TRUE(PathVector(L"").Equals(PathVector(L"")));
}

TEST(PathVectorTest, ParsingAgainReplacesTheComponents) {
  PathVector path(L"C:\\a\\b");
  path.Parse(L"D:\\c");
  EXPECT_THAT(path.Tokens(), ElementsAre(L"D:", L"c"));
  path.Parse(L"\\\\?\\E:\\d");
  EXPECT_THAT(path.Tokens(), ElementsAre(L"\\\\?\\E:", L"d"));
  path.Parse(L"\\\\?\\UNC\\srv\\x");
  EXPECT_THAT(path.Tokens(), ElementsAre(L"\\\\?\\UNC", L"srv", L"x"));
  path.Parse(L"\\");
  EXPECT_EQ(path.Count(), 0u);
}

TEST(PathVectorTest, ParsingAnEmptyTextChangesNothing) {
  PathVector path(L"C:\\a");
  path.Parse(L"");
  EXPECT_THAT(path.Tokens(), ElementsAre(L"C:", L"a"));
  EXPECT_EQ(path.Separator(), L'\\');
}

TEST(PathVectorTest, ParsingALongTextThatIsNotUnderstoodEmptiesTheList) {
  PathVector path(L"C:\\a");
  path.Parse(L"\\\\?\\GLOBALROOT\\x");
  EXPECT_EQ(path.Count(), 0u);
}

TEST(PathVectorTest, ParsingANetworkPathAppendsToTheList) {
  PathVector path(L"C:\\a");
  path.Parse(L"\\\\srv\\x");
  EXPECT_THAT(path.Tokens(), ElementsAre(L"C:", L"a", L"\\", L"srv", L"x"));
}

TEST(PathVectorTest, HoldsPathsOfAnyLength) {
  std::wstring text = L"\\\\?\\C:";
  while (text.size() + 2 <= 32767) text += L"\\x";
  EXPECT_EQ(PathVector(text).ToString(L'\\', 0), text);
  const std::wstring name(32767, L'n');
  EXPECT_THAT(PathVector(L"C:\\" + name).Tokens(), ElementsAre(L"C:", name));
}

TEST(PathVectorTest, IsNotRemote) {
  EXPECT_FALSE(PathVector(L"\\\\srv\\x").IsRemote());
}

TEST(TokenVectorTest, CutsAtItsSeparatorAndDropsEmptyParts) {
  TokenVector tokens(L'/');
  tokens.Assign(L"//a//b.c/../");
  EXPECT_THAT(tokens.Tokens(), ElementsAre(L"a", L"b.c", L".."));
  tokens.Assign(L"///");
  EXPECT_EQ(tokens.Count(), 0u);
  tokens.Assign(L"one");
  EXPECT_THAT(tokens.Tokens(), ElementsAre(L"one"));
}

TEST(TokenVectorTest, IsACopyableValue) {
  TokenVector first(L',');
  first.Assign(L"a,b");
  const TokenVector second = first;
  first.Assign(L"x");
  EXPECT_THAT(second.Tokens(), ElementsAre(L"a", L"b"));
}

}  // namespace
}  // namespace veskard
