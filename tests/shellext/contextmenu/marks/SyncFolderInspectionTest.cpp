#include "shellext/contextmenu/marks/SyncFolderInspection.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <cstdint>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "core/WindowsOwners.h"
#include "fs/util/NtFunctions.h"
#include "fs/util/SyncHandle.h"
#include "tests/support/Patched.h"
#include "tests/support/SyncTree.h"
#include "tests/support/WatchedCalls.h"

namespace veskard {
namespace {

using test::Patched;
using test::SyncTree;
using namespace std::string_literals;

constexpr wchar_t kAgentStream[] = L"com.nimbrel.VeskardAgent";
constexpr wchar_t kPredecessorStream[] = L"com.marlowgate.sync";
constexpr wchar_t kProgressStream[] = L"VLKDOWN";

SyncFolderInfo ReadInfo(const std::wstring& root) {
  SyncFolderInfo info;
  EXPECT_TRUE(ReadSyncFolderInfo(root, info));
  return info;
}

void ExpectDefaults(const SyncFolderInfo& info) {
  EXPECT_EQ(info.type, 0u);
  EXPECT_FALSE(info.selective);
  EXPECT_FALSE(info.disableRemoveFromAllDevices);
  EXPECT_EQ(info.owner, L"");
}

std::string Nested(size_t depth) {
  return "d4:mode" + std::string(depth, 'l');
}

// --- The root's mark ---

TEST(IsSyncFolderRootTest, AFileNamedIdInTheSyncFolderMarksARoot) {
  SyncTree tree;
  EXPECT_TRUE(IsSyncFolderRoot(tree.MarkRoot(L"root")));
}

TEST(IsSyncFolderRootTest, AFolderWithoutTheMarkIsNone) {
  SyncTree tree;
  EXPECT_FALSE(IsSyncFolderRoot(tree.MakeFolder(L"root\\.sync")));
  EXPECT_FALSE(IsSyncFolderRoot(tree.Path(L"missing")));
}

TEST(IsSyncFolderRootTest, ADirectoryNamedIdMarksNoRoot) {
  SyncTree tree;
  tree.MakeFolder(L"root\\.sync\\ID");
  EXPECT_FALSE(IsSyncFolderRoot(tree.Path(L"root")));
}

TEST(IsSyncFolderRootTest, TheMarksContentDoesNotMatter) {
  SyncTree tree;
  tree.MakeFile(L"root\\.sync\\ID", "anything");
  EXPECT_TRUE(IsSyncFolderRoot(tree.Path(L"root")));
}

// --- Finding the root ---

TEST(FindSyncFolderRootTest, WhatLiesInARootFindsItExceptTheAgentsOwnMetadata) {
  struct Row {
    const char* name;
    const wchar_t* path;
    bool isContent;
  };
  const Row rows[] = {
      {"an item below", L"root\\a\\b.txt", true},
      {"the root itself", L"root", true},
      {"an item that does not exist", L"root\\gone\\too.txt", true},
      {"doubled and trailing separators", L"root\\\\a\\", true},
      {"the metadata's folder", L"root\\.sync", false},
      {"the mark", L"root\\.sync\\ID", false},
      {"what lies deeper in the metadata", L"root\\.sync\\Archive\\old.txt", false},
      {"a folder of that name in other case", L"root\\.Sync\\a.txt", true},
      {"a name that only begins like it", L"root\\.sync2\\a.txt", true},
      {"a folder of that name further down", L"root\\a\\.sync\\ID", true},
  };
  SyncTree tree;
  const std::wstring root = tree.MarkRoot(L"root");
  tree.MakeFile(L"root\\a\\b.txt");
  for (const Row& row : rows) {
    EXPECT_EQ(FindSyncFolderRoot(tree.Path(row.path)), row.isContent ? root : L"") << row.name;
  }
}

TEST(FindSyncFolderRootTest, WithoutARootThereIsNone) {
  SyncTree tree;
  EXPECT_EQ(FindSyncFolderRoot(tree.MakeFile(L"a\\b.txt")), L"");
  EXPECT_EQ(FindSyncFolderRoot(L""), L"");
}

TEST(FindSyncFolderRootTest, OfNestedRootsTheOuterOneIsFound) {
  SyncTree tree;
  const std::wstring outer = tree.MarkRoot(L"outer");
  tree.MarkRoot(L"outer\\inner");
  EXPECT_EQ(FindSyncFolderRoot(tree.MakeFile(L"outer\\inner\\a.txt")), outer);
  EXPECT_EQ(FindSyncFolderRoot(tree.Path(L"outer\\inner")), outer);
}

// What is asked about paths, where nothing is but the mark of one root. (A test cannot
// make a drive or a share of its own under Wine.)
struct AskedAttributes {
  std::wstring markedRoot;
  std::vector<std::wstring> asked = {};
  const Patched<&::GetFileAttributesW> patch{
      "GetFileAttributesW", [this](auto, LPCWSTR path) {
        asked.emplace_back(path);
        const bool isMark = asked.back() == markedRoot + L"\\.sync\\ID";
        return isMark ? DWORD{FILE_ATTRIBUTE_HIDDEN} : INVALID_FILE_ATTRIBUTES;
      }};
};

// Where one root is marked, the root of `path` that is found, and the folders of which
// the mark is asked for.
struct RootRow {
  const char* name;
  std::wstring markedRoot;
  std::wstring path;
  std::wstring found;
  std::vector<std::wstring> folders;
};

// clang-format off
const RootRow kRootRows[] = {
    {"a path is walked from the drive down", L"none", L"Q:\\a\\b", L"", {L"Q:", L"Q:\\a", L"Q:\\a\\b"}},
    {"the walk stops at the first root", L"Q:", L"Q:\\a\\b\\c.txt", L"Q:", {L"Q:"}},
    {"a drive's root serves its folders", L"Q:", L"Q:\\a", L"Q:", {L"Q:"}},
    {"a drive's root serves itself", L"Q:", L"Q:\\", L"Q:", {L"Q:"}},
    {"a network path is walked from its share down", L"\\\\srv\\share\\root", L"\\\\srv\\share\\root\\a",
     L"\\\\srv\\share\\root", {L"\\\\srv\\share", L"\\\\srv\\share\\root"}},
    {"the agent's own folder on a share is no content", L"\\\\srv\\share\\root",
     L"\\\\srv\\share\\root\\.sync\\x", L"", {L"\\\\srv\\share", L"\\\\srv\\share\\root"}},
    {"a long path keeps its prefix", L"\\\\?\\C:\\root", L"\\\\?\\C:\\root\\a", L"\\\\?\\C:\\root",
     {L"\\\\?\\C:", L"\\\\?\\C:\\root"}},
    {"the agent's own folder on a long path is no content", L"\\\\?\\C:\\root",
     L"\\\\?\\C:\\root\\.sync\\x", L"", {L"\\\\?\\C:", L"\\\\?\\C:\\root"}},
    {"a long path to a share keeps its prefix", L"\\\\?\\UNC\\srv\\root", L"\\\\?\\UNC\\srv\\root\\a",
     L"\\\\?\\UNC\\srv\\root", {L"\\\\?\\UNC\\srv\\root"}},
    {"a share that is a root serves itself", L"\\\\srv\\share", L"\\\\srv\\share", L"\\\\srv\\share",
     {L"\\\\srv\\share"}},
    {"a share that is a root serves all below", L"\\\\srv\\share", L"\\\\srv\\share\\a\\b",
     L"\\\\srv\\share", {L"\\\\srv\\share"}},
    {"a share with the long prefix serves itself", L"\\\\?\\UNC\\srv\\share", L"\\\\?\\UNC\\srv\\share",
     L"\\\\?\\UNC\\srv\\share", {L"\\\\?\\UNC\\srv\\share"}},
    {"a share with the long prefix serves all below", L"\\\\?\\UNC\\srv\\share",
     L"\\\\?\\UNC\\srv\\share\\a\\b", L"\\\\?\\UNC\\srv\\share", {L"\\\\?\\UNC\\srv\\share"}},
    {"a drive's device path is walked from the drive down", L"\\\\.\\C:\\root", L"\\\\.\\C:\\root\\a",
     L"\\\\.\\C:\\root", {L"\\\\.\\C:", L"\\\\.\\C:\\root"}},
    {"a network device path is walked from its share down", L"\\\\.\\UNC\\srv\\share\\a",
     L"\\\\.\\UNC\\srv\\share\\a", L"\\\\.\\UNC\\srv\\share\\a",
     {L"\\\\.\\UNC\\srv\\share", L"\\\\.\\UNC\\srv\\share\\a"}},
    {"so is one in other letters", L"\\\\.\\unc\\srv\\share\\a", L"\\\\.\\unc\\srv\\share\\a",
     L"\\\\.\\unc\\srv\\share\\a", {L"\\\\.\\unc\\srv\\share", L"\\\\.\\unc\\srv\\share\\a"}},
    {"an address of the agent's storage is walked with its own separator", L"cloud://s1/s2/s3/root",
     L"cloud:/s1/s2/s3/root/a", L"cloud://s1/s2/s3/root", {L"cloud://s1/s2/s3", L"cloud://s1/s2/s3/root"}},
};
// clang-format on

TEST(FindSyncFolderRootTest, APathOfAnyFormIsWalkedFromItsFirstFolderToTheRootWithOneQueryEach) {
  for (const RootRow& row : kRootRows) {
    AskedAttributes system{.markedRoot = row.markedRoot};
    EXPECT_EQ(FindSyncFolderRoot(row.path), row.found) << row.name;
    std::vector<std::wstring> marks;
    for (const std::wstring& folder : row.folders) marks.push_back(folder + L"\\.sync\\ID");
    EXPECT_EQ(system.asked, marks) << row.name;
  }
}

// Asking would look up a machine called ".sync", or trust a share of that name.
TEST(FindSyncFolderRootTest, NothingIsAskedAboutAMachineWithoutAShare) {
  for (const std::wstring machine :
       {L"\\\\srv", L"\\\\srv\\", L"\\\\?\\UNC\\srv", L"\\\\.\\UNC\\srv", L"\\\\.\\UNC", L"\\\\."}) {
    AskedAttributes system{.markedRoot = machine};
    EXPECT_EQ(FindSyncFolderRoot(machine), L"") << machine.c_str();
    EXPECT_TRUE(system.asked.empty()) << machine.c_str();
  }
}

TEST(FindSyncFolderRootTest, APathOf32767CharactersIsNoTrouble) {
  std::wstring path = L"C:";
  while (path.size() + 100 < 32767) path += L"\\" + std::wstring(99, L'x');
  path += L"\\" + std::wstring(32767 - path.size() - 1, L'y');
  ASSERT_EQ(path.size(), 32767u);
  EXPECT_EQ(FindSyncFolderRoot(path), L"");
}

// --- The folder's record ---

TEST(ReadSyncFolderInfoTest, ReadsEveryField) {
  SyncTree tree;
  const SyncFolderInfo info = ReadInfo(
      tree.MarkRoot(L"root", "d31:disable_remove_from_all_devicesi1e4:modei1e5:owner5:alice4:typei2ee"));
  EXPECT_EQ(info.type, 2u);
  EXPECT_TRUE(info.selective);
  EXPECT_TRUE(info.disableRemoveFromAllDevices);
  EXPECT_EQ(info.owner, L"alice");
}

TEST(ReadSyncFolderInfoTest, WithoutAnySourceNothingIsTouched) {
  SyncTree tree;
  SyncFolderInfo info = {7, true, true, L"someone"};
  EXPECT_FALSE(ReadSyncFolderInfo(tree.MarkRoot(L"root"), info));
  EXPECT_EQ(info.type, 7u);
  EXPECT_TRUE(info.selective);
  EXPECT_TRUE(info.disableRemoveFromAllDevices);
  EXPECT_EQ(info.owner, L"someone");
}

TEST(ReadSyncFolderInfoTest, TheAgentsStreamIsTheSecondSource) {
  SyncTree tree;
  const std::wstring root = tree.MarkRoot(L"root");
  tree.WriteStream(L"root\\.sync\\ID", kAgentStream, "d4:typei2ee");
  tree.WriteStream(L"root\\.sync\\ID", L"_TYPE", "d4:typei3ee");
  EXPECT_EQ(ReadInfo(root).type, 2u);
}

TEST(ReadSyncFolderInfoTest, TheTypeStreamIsTheThirdSource) {
  SyncTree tree;
  const std::wstring root = tree.MarkRoot(L"root");
  tree.WriteStream(L"root\\.sync\\ID", L"_TYPE", "d4:typei3ee");
  EXPECT_EQ(ReadInfo(root).type, 3u);
}

TEST(ReadSyncFolderInfoTest, TheFirstSourceThatOpensWinsWhateverItHolds) {
  SyncTree tree;
  const std::wstring root = tree.MarkRoot(L"root", "not a record");
  tree.WriteStream(L"root\\.sync\\ID", kAgentStream, "d4:typei2ee");
  ExpectDefaults(ReadInfo(root));
}

TEST(ReadSyncFolderInfoTest, ADirectoryInTheFilesPlaceIsPassedOver) {
  SyncTree tree;
  const std::wstring root = tree.MarkRoot(L"root");
  tree.MakeFolder(L"root\\.sync\\FolderType");
  tree.WriteStream(L"root\\.sync\\ID", kAgentStream, "d4:typei2ee");
  EXPECT_EQ(ReadInfo(root).type, 2u);
}

TEST(ReadSyncFolderInfoTest, BytesThatAreNoRecordGiveTheDefaults) {
  SyncTree tree;
  for (const std::string& bytes : {""s, "x"s, "i5e"s, "3:abc"s, "d"s, "d4:type"s, "d4:typei2e"s,
                                   "l4:typei2ee"s, "d99999999999:x"s, "\0\0\0\0"s, "d4:typei2e4:typei2ee"s}) {
    SCOPED_TRACE(bytes);
    ExpectDefaults(ReadInfo(tree.MarkRoot(L"root", bytes)));
  }
}

TEST(ReadSyncFolderInfoTest, HundredsOfThousandsOfNestedListsGiveTheDefaults) {
  SyncTree tree;
  ExpectDefaults(ReadInfo(tree.MarkRoot(L"root", Nested(300'000))));
  ExpectDefaults(ReadInfo(tree.MarkRoot(L"root", Nested(300'000) + std::string(300'001, 'e'))));
}

TEST(ReadSyncFolderInfoTest, AGiganticFileIsNotRead) {
  SyncTree tree;
  const std::wstring path = tree.MakeFile(L"root\\.sync\\FolderType", "d4:typei2ee");
  tree.MarkRoot(L"root");
  {
    const UniqueFile file(::CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    LARGE_INTEGER end;
    end.QuadPart = int64_t{6} << 30;
    ASSERT_TRUE(::SetFilePointerEx(file.Get(), end, nullptr, FILE_BEGIN));
    ASSERT_TRUE(::SetEndOfFile(file.Get()));
  }
  ExpectDefaults(ReadInfo(tree.Path(L"root")));
}

TEST(ReadSyncFolderInfoTest, AnyOtherModeThanZeroIsSelective) {
  SyncTree tree;
  EXPECT_TRUE(ReadInfo(tree.MarkRoot(L"root", "d4:modei2ee")).selective);
  EXPECT_TRUE(ReadInfo(tree.MarkRoot(L"root", "d4:modei-1ee")).selective);
  EXPECT_FALSE(ReadInfo(tree.MarkRoot(L"root", "d4:modei0ee")).selective);
}

TEST(ReadSyncFolderInfoTest, IntegersAreCutTo32BitsFirst) {
  SyncTree tree;
  const SyncFolderInfo info = ReadInfo(tree.MarkRoot(
      L"root", "d31:disable_remove_from_all_devicesi8589934592e4:modei4294967296e4:typei4294967298ee"));
  EXPECT_EQ(info.type, 2u);
  EXPECT_FALSE(info.selective);
  EXPECT_FALSE(info.disableRemoveFromAllDevices);
}

TEST(ReadSyncFolderInfoTest, ValuesOfAnotherKindCountAsMissing) {
  SyncTree tree;
  ExpectDefaults(ReadInfo(
      tree.MarkRoot(L"root", "d31:disable_remove_from_all_devices1:14:mode1:15:owneri5e4:typeli2eee")));
}

TEST(ReadSyncFolderInfoTest, TheOwnerIsUtf8) {
  SyncTree tree;
  const std::wstring root = tree.MarkRoot(L"root",
                                          "d5:owner6:J\xC3\xB6rg"
                                          "se");
  EXPECT_EQ(ReadInfo(root).owner, L"J\u00F6rgs");
}

TEST(ReadSyncFolderInfoTest, WhatFollowsTheRecordIsIgnored) {
  SyncTree tree;
  EXPECT_EQ(ReadInfo(tree.MarkRoot(L"root", "d4:typei2ee and more")).type, 2u);
}

// --- Progress ---

struct ProgressRow {
  uint32_t value;
  int32_t rounded;
};
constexpr ProgressRow kProgressRows[] = {
    {0, 0},
    {4, 0},
    {5, 5},
    {47, 45},
    {99, 95},
    {100, 100},
    {101, 100},
    {250, 100},
    {0x7FFFFFFF, 100},
    {0x80000000, 100},
    {0x80000001, 100},
    {0x80000002, -2147483646},
    {0xFFFFFFFE, -6},
    {0xFFFFFFFF, -1},
};

TEST(RoundProgressTest, RoundsDownToStepsOfFiveAndCapsSignedNumbersAtAHundred) {
  for (const ProgressRow& row : kProgressRows) EXPECT_EQ(RoundProgress(row.value), row.rounded) << row.value;
}

// --- The placeholder's status ---

PlaceholderState StateOf(const std::string& status) {
  SyncTree tree;
  return ReadPlaceholderState(tree.MakePlaceholder(L"a.txt.ghpl", status));
}

TEST(ReadPlaceholderStateTest, AFileWithoutStreamsHasNoProgress) {
  SyncTree tree;
  const PlaceholderState state = ReadPlaceholderState(tree.MakeFile(L"a.ghpl"));
  EXPECT_EQ(state.progress, -1);
  EXPECT_FALSE(state.typeFlag);
}

TEST(ReadPlaceholderStateTest, AMissingFileHasNoProgress) {
  EXPECT_EQ(ReadPlaceholderState(SyncTree().Path(L"missing.ghpl")).progress, -1);
}

// What a mark's bytes say.
struct StateRow {
  const char* name;
  std::string bytes;
  int32_t progress;
  bool typeFlag = false;
};

TEST(ReadPlaceholderStateTest, TheStatusIsRoundedAndTypeTwoStandsForAFolder) {
  // clang-format off
  const StateRow rows[] = {
      {"rounded down",             "d10:vlk_statusi47ee",                    45},
      {"a hundred",                "d10:vlk_statusi100ee",                   100},
      {"more than a hundred",      "d10:vlk_statusi250ee",                   100},
      {"rounded to zero",          "d10:vlk_statusi4ee",                     0},
      {"the largest of 32 bits",   "d10:vlk_statusi4294967295ee",            -1},
      {"negative",                 "d10:vlk_statusi-1ee",                    -1},
      {"cut to 32 bits first",     "d10:vlk_statusi4294967346ee",            50},
      {"saturated, then cut",      "d10:vlk_statusi99999999999999999999ee",  -1},
      {"a string counts as zero",  "d10:vlk_status2:47e",                    0},
      {"a list counts as zero",    "d10:vlk_statuslee",                      0},
      {"type two",                 "d8:vlk_typei2ee",                        -1, true},
      {"type two in 32 bits",      "d8:vlk_typei4294967298ee",               -1},  // all bits count
      {"the same, negative",       "d8:vlk_typei-4294967294ee",              -1},
      {"another type",             "d8:vlk_typei1ee",                        -1},
      {"a type that is a string",  "d8:vlk_type1:2e",                        -1},
      {"an empty record",          "de",                                     -1},
      {"nothing",                  "",                                       -1},
      {"no record",                "x",                                      -1},
      {"cut behind the key",       "d10:vlk_status",                         -1},
      {"cut behind the value",     "d10:vlk_statusi47e",                     -1},
      {"a length past the end",    "d999:x",                                 -1},
      {"a list has no status",     "l10:vlk_statusi47ee",                    -1},
  };
  // clang-format on
  for (const StateRow& row : rows) {
    const PlaceholderState state = StateOf(row.bytes);
    EXPECT_EQ(state.progress, row.progress) << row.name;
    EXPECT_EQ(state.typeFlag, row.typeFlag) << row.name;
  }
}

TEST(ReadPlaceholderStateTest, ThePredecessorsStreamIsTheSecondSource) {
  SyncTree tree;
  tree.WriteStream(L"a.ghpl", kPredecessorStream, "d10:vlk_statusi20ee");
  EXPECT_EQ(ReadPlaceholderState(tree.Path(L"a.ghpl")).progress, 20);
  tree.WriteStream(L"a.ghpl", kAgentStream, "d10:vlk_statusi30ee");
  EXPECT_EQ(ReadPlaceholderState(tree.Path(L"a.ghpl")).progress, 30);
}

TEST(ReadPlaceholderStateTest, AProgressStreamIsNotAskedWhenADictionaryIsThere) {
  SyncTree tree;
  tree.MakePlaceholder(L"a.ghpl", "de");
  tree.WriteStream(L"a.ghpl", kProgressStream, "\x32\0\0\0\0\0\0\0"s);
  EXPECT_EQ(ReadPlaceholderState(tree.Path(L"a.ghpl")).progress, -1);
}

TEST(ReadPlaceholderStateTest, TheFirstStreamThatOpensWinsWhateverItHolds) {
  SyncTree tree;
  tree.MakePlaceholder(L"a.ghpl", "d10:vlk_status");
  tree.WriteStream(L"a.ghpl", kProgressStream, "\x32\0\0\0\0\0\0\0"s);
  EXPECT_EQ(ReadPlaceholderState(tree.Path(L"a.ghpl")).progress, -1);
  tree.MakePlaceholder(L"b.ghpl", "d10:vlk_status");
  tree.WriteStream(L"b.ghpl", kPredecessorStream, "d10:vlk_statusi20ee");
  EXPECT_EQ(ReadPlaceholderState(tree.Path(L"b.ghpl")).progress, -1);
  tree.WriteStream(L"c.ghpl", kPredecessorStream, "de");
  tree.WriteStream(L"c.ghpl", kProgressStream, "\x32\0\0\0\0\0\0\0"s);
  EXPECT_EQ(ReadPlaceholderState(tree.Path(L"c.ghpl")).progress, -1);
}

TEST(ReadPlaceholderStateTest, AProgressStreamHoldsThePercentInTheFirstFourOfEightBytes) {
  // clang-format off
  const StateRow rows[] = {
      {"eight bytes",          "\x32\0\0\0\0\0\0\0"s,               50},
      {"the rest is ignored",  "\x2F\0\0\0\xFF\xFF\xFF\xFF"s,       45},
      {"negative",             "\xFF\xFF\xFF\xFF\0\0\0\0"s,         -1},
      {"more than eight",      "\x32\0\0\0\0\0\0\0and more"s,       50},
      {"four bytes",           "\x32\0\0\0"s,                       -1},
      {"seven bytes",          "\x32\0\0\0\0\0\0"s,                 -1},
      {"no bytes",             "",                                  -1},
  };
  // clang-format on
  for (const StateRow& row : rows) {
    SyncTree tree;
    tree.WriteStream(L"a.ghpl", kProgressStream, row.bytes);
    const PlaceholderState state = ReadPlaceholderState(tree.Path(L"a.ghpl"));
    EXPECT_EQ(state.progress, row.progress) << row.name;
    EXPECT_FALSE(state.typeFlag) << row.name;
  }
}

// --- Long paths ---

// Below it, a name of any length makes a path of the length wanted.
struct LongPathRow {
  const wchar_t* folder;      // as the Shell gives it
  const wchar_t* longFolder;  // in its long form
};
constexpr LongPathRow kLongPathRows[] = {
    {L"Q:\\", L"\\\\?\\Q:\\"},
    {L"\\\\srv\\share\\", L"\\\\?\\UNC\\srv\\share\\"},
};

// A path of `length` characters.
std::wstring PathOfLength(const std::wstring& folder, size_t length) {
  return folder + std::wstring(length - folder.size(), L'x');
}

std::wstring InLongForm(const LongPathRow& row, const std::wstring& path) {
  return row.longFolder + path.substr(std::wstring(row.folder).size());
}

class MarkOfLongPathTest : public testing::Test {
 protected:
  static constexpr wchar_t kRootSuffix[] = L"\\.sync\\ID";
  // What is opened behind a root and behind a placeholder.
  static constexpr const wchar_t* kRecordSuffixes[] = {
      L"\\.sync\\FolderType", L"\\.sync\\ID:com.nimbrel.VeskardAgent", L"\\.sync\\ID:_TYPE"};
  static constexpr const wchar_t* kPlaceholderSuffixes[] = {L":com.nimbrel.VeskardAgent",
                                                            L":com.marlowgate.sync", L":VLKDOWN"};

  std::vector<std::wstring> AskedAboutRoot(const std::wstring& root) {
    system_.asked.clear();
    EXPECT_FALSE(IsSyncFolderRoot(root));
    return system_.asked;
  }
  std::vector<std::wstring> OpenedFor(const std::wstring& root, bool placeholder) {
    system_.asked.clear();
    SyncFolderInfo info;
    if (placeholder) {
      EXPECT_EQ(ReadPlaceholderState(root).progress, -1);
    } else {
      EXPECT_FALSE(ReadSyncFolderInfo(root, info));
    }
    return system_.asked;
  }

  // Opens all marks behind paths that, with the mark `which`, have the length at
  // which the form changes, and one less and more.
  void CheckLengths(bool placeholder, size_t which) {
    const auto& suffixes = placeholder ? kPlaceholderSuffixes : kRecordSuffixes;
    const std::wstring suffix = suffixes[which];
    for (const LongPathRow& row : kLongPathRows) {
      for (const size_t length : {259u, 260u, 261u}) {
        const std::wstring path = PathOfLength(row.folder, length - suffix.size());
        const auto opened = OpenedFor(path, placeholder);
        ASSERT_EQ(opened.size(), 3u);
        EXPECT_EQ(opened[which], (length > 259 ? InLongForm(row, path) : path) + suffix);
      }
    }
  }

  AskedAttributes system_;
  const Patched<&::CreateFileW> open_{"CreateFileW", [this](auto, LPCWSTR path, auto...) {
                                        system_.asked.emplace_back(path);
                                        ::SetLastError(ERROR_FILE_NOT_FOUND);
                                        return INVALID_HANDLE_VALUE;
                                      }};
};

TEST_F(MarkOfLongPathTest, ARootsMarkOfMoreThan259CharactersIsAskedForInItsLongForm) {
  const size_t suffix = std::wstring(kRootSuffix).size();
  for (const LongPathRow& row : kLongPathRows) {
    for (const size_t length : {259u, 260u, 261u}) {
      const std::wstring root = PathOfLength(row.folder, length - suffix);
      const std::wstring named = length > 259 ? InLongForm(row, root) : root;
      EXPECT_EQ(AskedAboutRoot(root), std::vector<std::wstring>{named + kRootSuffix});
    }
  }
}

TEST_F(MarkOfLongPathTest, TheSearchUsesTheLongFormFromTheFirstFolderThatNeedsItOn) {
  const std::wstring folder = PathOfLength(L"Q:\\", 250);
  EXPECT_EQ(FindSyncFolderRoot(folder + L"\\a"), L"");
  EXPECT_EQ(system_.asked, (std::vector<std::wstring>{L"Q:\\.sync\\ID", folder + L"\\.sync\\ID",
                                                      L"\\\\?\\" + folder + L"\\a\\.sync\\ID"}));
}

TEST_F(MarkOfLongPathTest, TheFolderRecordsFileIsOpenedInItsLongForm) {
  CheckLengths(false, 0);
}

TEST_F(MarkOfLongPathTest, TheFolderRecordsStreamsAreOpenedInTheirLongForm) {
  CheckLengths(false, 1);
  CheckLengths(false, 2);
}

TEST_F(MarkOfLongPathTest, APlaceholdersStreamsAreOpenedInTheirLongForm) {
  for (const size_t which : {0u, 1u, 2u}) CheckLengths(true, which);
}

TEST_F(MarkOfLongPathTest, APathThatHasThePrefixStaysAsItIs) {
  for (const LongPathRow& row : kLongPathRows) {
    const std::wstring path = PathOfLength(row.longFolder, 300);
    EXPECT_EQ(AskedAboutRoot(path), std::vector<std::wstring>{path + kRootSuffix});
    EXPECT_EQ(OpenedFor(path, false),
              (std::vector<std::wstring>{path + kRecordSuffixes[0], path + kRecordSuffixes[1],
                                         path + kRecordSuffixes[2]}));
    EXPECT_EQ(OpenedFor(path, true),
              (std::vector<std::wstring>{path + kPlaceholderSuffixes[0], path + kPlaceholderSuffixes[1],
                                         path + kPlaceholderSuffixes[2]}));
  }
}

// There is no long form of it, and the folder that a host stands in is not the
// item's: Windows refuses the path, and the mark counts as missing.
TEST_F(MarkOfLongPathTest, ARelativePathStaysAsItIs) {
  const std::wstring path = PathOfLength(L"a\\", 300);
  EXPECT_EQ(AskedAboutRoot(path), std::vector<std::wstring>{path + kRootSuffix});
  EXPECT_EQ(OpenedFor(path, true).at(0), path + kPlaceholderSuffixes[0]);
}

// Windows would read them in a short path; in a long form it takes them as they stand.
TEST_F(MarkOfLongPathTest, SlashesDotsAndDoubledSeparatorsAreResolvedFirst) {
  const std::wstring name(300, L'x');
  const std::vector<std::wstring> expected = {L"\\\\?\\Q:\\a\\" + name + kRootSuffix};
  for (const wchar_t* folder : {L"Q:/a/", L"Q:\\b\\..\\a\\.\\", L"Q:\\\\a\\\\"}) {
    EXPECT_EQ(AskedAboutRoot(folder + name), expected);
  }
  EXPECT_EQ(OpenedFor(L"Q:\\\\b\\..\\a\\" + name, true).at(0),
            L"\\\\?\\Q:\\a\\" + name + kPlaceholderSuffixes[0]);
}

// --- What the system says of an open mark ---

long questionCount = 0;
NtQueryInformationFileFunction realQuestion = nullptr;

NTSTATUS NTAPI CountQuestion(HANDLE file, IO_STATUS_BLOCK* status, void* answer, ULONG size, ULONG what) {
  ++questionCount;
  return realQuestion(file, status, answer, size, what);
}
NTSTATUS NTAPI RefuseQuestion(HANDLE, IO_STATUS_BLOCK*, void*, ULONG, ULONG) {
  ++questionCount;
  return static_cast<NTSTATUS>(0xC0000002);  // not implemented
}

// Replaces the function by another one, or by none, for its lifetime.
class AnsweredQuestions {
 public:
  explicit AnsweredQuestions(NtQueryInformationFileFunction answer) {
    questionCount = 0;
    realQuestion = std::exchange(Nt().queryInformationFile, answer);
  }
  ~AnsweredQuestions() { Nt().queryInformationFile = realQuestion; }
  AnsweredQuestions(const AnsweredQuestions&) = delete;
  AnsweredQuestions& operator=(const AnsweredQuestions&) = delete;
};

// A folder whose marks all have paths of more than 259 characters.
constexpr size_t kDeepName = 250;

TEST(MarkOfLongPathOnDiskTest, ARecordIsFoundAndReadInItsLongForm) {
  SyncTree tree;
  const std::wstring root = tree.MarkRoot(std::wstring(kDeepName, L'r'), "d4:typei2ee");
  EXPECT_EQ(FindSyncFolderRoot(root + L"\\a.txt"), root);
  EXPECT_EQ(ReadInfo(root).type, 2u);
}

// Where the size has to be asked by name, by the name that was opened.
TEST(MarkOfLongPathOnDiskTest, ARecordIsSizedInItsLongFormToo) {
  SyncTree tree;
  const std::wstring root = tree.MarkRoot(std::wstring(kDeepName, L'r'), "d4:typei2ee");
  const AnsweredQuestions none(nullptr);
  std::vector<std::wstring> sized;
  const Patched<&::FindFirstFileExW> size("FindFirstFileExW", [&](auto original, LPCWSTR path, auto... rest) {
    sized.emplace_back(path);
    return original(path, rest...);
  });
  EXPECT_EQ(ReadInfo(root).type, 2u);
  EXPECT_EQ(sized, std::vector<std::wstring>{L"\\\\?\\" + root + L"\\.sync\\FolderType"});
}

TEST(MarkOfLongPathOnDiskTest, SoIsARecordInAStream) {
  SyncTree tree;
  const std::wstring name(kDeepName, L'r');
  const std::wstring root = tree.MarkRoot(name);
  tree.WriteStream(name + L"\\.sync\\ID", L"_TYPE", "d4:typei3ee");
  EXPECT_EQ(ReadInfo(root).type, 3u);
}

TEST(MarkOfLongPathOnDiskTest, SoIsAPlaceholdersState) {
  SyncTree tree;
  const std::wstring folder = std::wstring(kDeepName, L'f') + L"\\";
  EXPECT_EQ(ReadPlaceholderState(tree.MakePlaceholder(folder + L"a.ghpl", "d10:vlk_statusi40ee")).progress,
            40);
  tree.WriteStream(folder + L"b.ghpl", kProgressStream, "\x32\0\0\0\0\0\0\0"s);
  const auto mark = OpenPlaceholderMark(tree.Path(folder + L"b.ghpl"));
  ASSERT_NE(mark, nullptr);
  EXPECT_TRUE(IsProgressMark(*mark));
  EXPECT_EQ(mark->Path(), L"\\\\?\\" + tree.Path(folder + L"b.ghpl") + L"\\VLKDOWN");
}

// --- What it costs ---

// The calls that reading one mark makes.
struct MarkCalls {
  long opens;
  long openSizes;   // of what is open
  long namedSizes;  // of what has its name
  long reads;
  bool operator==(const MarkCalls&) const = default;
};
void PrintTo(const MarkCalls& calls, std::ostream* out) {
  *out << calls.opens << " opens, " << calls.openSizes << " and " << calls.namedSizes << " sizes, "
       << calls.reads << " reads";
}

template <class Operation>
MarkCalls CallsOf(const Operation& operation, NtQueryInformationFileFunction answer = &CountQuestion) {
  const AnsweredQuestions questions(answer);
  const test::WatchedCalls calls{"CreateFileW", "FindFirstFileExW", "GetFileSizeEx", "ReadFile"};
  operation();
  return {calls.Of("CreateFileW"), questionCount, calls.Of("FindFirstFileExW") + calls.Of("GetFileSizeEx"),
          calls.Of("ReadFile")};
}

TEST(MarkCostTest, ARecordIsSizedOnceAndReadOnce) {
  SyncTree tree;
  const std::wstring root = tree.MarkRoot(L"root", "d4:typei2ee");
  EXPECT_EQ(CallsOf([&] { EXPECT_EQ(ReadInfo(root).type, 2u); }), (MarkCalls{1, 1, 0, 1}));
}

TEST(MarkCostTest, ARecordInAStreamToo) {
  SyncTree tree;
  const std::wstring root = tree.MarkRoot(L"root");
  tree.WriteStream(L"root\\.sync\\ID", L"_TYPE", "d4:typei3ee");
  EXPECT_EQ(CallsOf([&] { EXPECT_EQ(ReadInfo(root).type, 3u); }), (MarkCalls{3, 1, 0, 1}));
}

TEST(MarkCostTest, AStatusIsSizedOnceAndReadOnce) {
  SyncTree tree;
  const std::wstring file = tree.MakePlaceholder(L"a.ghpl", "d10:vlk_statusi40ee");
  EXPECT_EQ(CallsOf([&] { EXPECT_EQ(ReadPlaceholderState(file).progress, 40); }), (MarkCalls{1, 1, 0, 1}));
}

// A system without the question, and one that refuses it.
TEST(MarkCostTest, WhatCannotBeAskedOfTheOpenMarkIsAskedByName) {
  SyncTree tree;
  const std::wstring root = tree.MarkRoot(L"root", "d4:typei2ee");
  const std::wstring file = tree.MakePlaceholder(L"a.ghpl", "d10:vlk_statusi40ee");
  EXPECT_EQ(CallsOf([&] { EXPECT_EQ(ReadInfo(root).type, 2u); }, nullptr), (MarkCalls{1, 0, 1, 1}));
  EXPECT_EQ(CallsOf([&] { EXPECT_EQ(ReadInfo(root).type, 2u); }, &RefuseQuestion), (MarkCalls{1, 1, 1, 1}));
  EXPECT_EQ(CallsOf([&] { EXPECT_EQ(ReadPlaceholderState(file).progress, 40); }, &RefuseQuestion),
            (MarkCalls{2, 1, 1, 1}));
}

TEST(MarkCostTest, AProgressStreamIsOnlyReadOnce) {
  SyncTree tree;
  tree.WriteStream(L"a.ghpl", kProgressStream, "\x32\0\0\0\0\0\0\0"s);
  const std::wstring file = tree.Path(L"a.ghpl");
  EXPECT_EQ(CallsOf([&] { EXPECT_EQ(ReadPlaceholderState(file).progress, 50); }), (MarkCalls{3, 0, 0, 1}));
}

TEST(LiesInSelectiveFolderTest, FollowsTheRecordOfTheFolder) {
  SyncTree tree;
  tree.MarkRoot(L"selective", test::kSelective);
  tree.MarkRoot(L"whole", test::kNotSelective);
  tree.MarkRoot(L"bare");
  EXPECT_TRUE(LiesInSelectiveFolder(tree.Path(L"selective\\a.ghpl")));
  EXPECT_FALSE(LiesInSelectiveFolder(tree.Path(L"whole\\a.ghpl")));
  EXPECT_FALSE(LiesInSelectiveFolder(tree.Path(L"bare\\a.ghpl")));
  EXPECT_FALSE(LiesInSelectiveFolder(tree.Path(L"elsewhere\\a.ghpl")));
}

TEST(LiesInSelectiveFolderTest, APlaceholderInANestedFolderIsJudgedByTheOuterOne) {
  SyncTree tree;
  tree.MarkRoot(L"outer", test::kSelective);
  tree.MarkRoot(L"outer\\inner", test::kNotSelective);
  EXPECT_TRUE(LiesInSelectiveFolder(tree.Path(L"outer\\inner\\a.ghpl")));
}

}  // namespace
}  // namespace veskard
