// Which commands a selection gets.
#include "tests/end_to_end/RightClickTest.h"

namespace veskard::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class MenuTest : public RightClickTest {};

const FolderRecord kNotRemovable = {.type = 1};

TEST_F(MenuTest, AFolderCanBeSyncedAndRemoved) {
  Root();
  EXPECT_THAT(MenuOf({Folder(L"Root\\Maps")}), ElementsAre(kSync, kRemoveHere, kRemoveEverywhere));
}

TEST_F(MenuTest, RemoveFromAllIsGreyedUnlessTheFoldersTypeIsTwo) {
  Root(L"Root", kNotRemovable);
  EXPECT_THAT(MenuOf({Folder(L"Root\\Maps")}), ElementsAre(kSync, kRemoveHere, kRemoveEverywhereGreyed));
}

TEST_F(MenuTest, ALocalFileCanBeRemoved) {
  Root();
  EXPECT_THAT(MenuOf({File(L"Root\\a.txt")}), ElementsAre(kRemoveHere, kRemoveEverywhere));
}

TEST_F(MenuTest, PlaceholdersThatAreNotReceivedCanBeSynced) {
  Root();
  EXPECT_THAT(MenuOf({Placeholder(L"Root\\a.ghpl"), Placeholder(L"Root\\b.GHPL")}),
              ElementsAre(kSync, kRemoveEverywhere));
}

TEST_F(MenuTest, APlaceholderBeingReceivedAddsCancelAndGreysRemoveFromAll) {
  Root();
  EXPECT_THAT(MenuOf({Placeholder(L"Root\\a.ghpl"), Placeholder(L"Root\\b.ghpl", 45)}),
              ElementsAre(kSync, kCancel, kRemoveEverywhereGreyed));
  EXPECT_THAT(MenuOf({Placeholder(L"Root\\c.ghpl", 0)}), ElementsAre(kCancel, kRemoveEverywhereGreyed));
}

TEST_F(MenuTest, AMixedSelectionGetsEveryCommand) {
  Root();
  EXPECT_THAT(MenuOf({Folder(L"Root\\Maps"), File(L"Root\\a.txt"), Placeholder(L"Root\\b.ghpl", 100)}),
              ElementsAre(kSync, kCancel, kRemoveHere, kRemoveEverywhereGreyed));
}

TEST_F(MenuTest, AFolderThatForbidsItNeverShowsRemoveFromAll) {
  Root(L"Root", {.disableRemoveFromAllDevices = true});
  EXPECT_THAT(MenuOf({Folder(L"Root\\Maps")}), ElementsAre(kSync, kRemoveHere));
  EXPECT_THAT(MenuOf({Placeholder(L"Root\\a.ghpl", 5)}), ElementsAre(kCancel));
}

TEST_F(MenuTest, AFolderThatIsNotSelectiveGetsNothing) {
  Root(L"Root", {.mode = 0});
  EXPECT_THAT(MenuOf({Folder(L"Root\\Maps")}), IsEmpty());
}

TEST_F(MenuTest, AnyModeButZeroIsSelective) {
  Root(L"Root", {.mode = 2});
  EXPECT_THAT(MenuOf({File(L"Root\\a.txt")}), ElementsAre(kRemoveHere, kRemoveEverywhere));
}

TEST_F(MenuTest, OnlyTheOwnerGetsCommands) {
  Root(L"Mine", {.owner = UserName()});
  Root(L"Theirs", {.owner = UserName() + "x"});
  EXPECT_THAT(MenuOf({File(L"Mine\\a.txt")}), ElementsAre(kRemoveHere, kRemoveEverywhere));
  EXPECT_THAT(MenuOf({File(L"Theirs\\a.txt")}), IsEmpty());
}

TEST_F(MenuTest, TheOwnersNameIsComparedWithItsLetterCase) {
  std::string shouted = UserName();
  for (char& c : shouted) c = static_cast<char>(c >= 'a' && c <= 'z' ? c - 'a' + 'A' : c);
  ASSERT_NE(shouted, UserName());
  Root(L"Root", {.owner = shouted});
  EXPECT_THAT(MenuOf({File(L"Root\\a.txt")}), IsEmpty());
}

TEST_F(MenuTest, AnEmptyOwnerIsEveryone) {
  Root(L"Root", {.owner = ""});
  EXPECT_THAT(MenuOf({File(L"Root\\a.txt")}), ElementsAre(kRemoveHere, kRemoveEverywhere));
}

TEST_F(MenuTest, OnlyTheFirstItemDecidesTheFolder) {
  Root();
  const std::wstring inside = File(L"Root\\a.txt");
  const std::wstring outside = Placeholder(L"Elsewhere\\b.ghpl");
  EXPECT_THAT(MenuOf({inside, outside}), ElementsAre(kSync, kRemoveHere, kRemoveEverywhere));
  EXPECT_THAT(MenuOf({outside, inside}), IsEmpty());
}

TEST_F(MenuTest, TheOuterOfNestedFoldersJudges) {
  Root(L"Outer", kNotRemovable);
  Root(L"Outer\\Inner");
  EXPECT_THAT(MenuOf({File(L"Outer\\Inner\\a.txt")}), ElementsAre(kRemoveHere, kRemoveEverywhereGreyed));
}

TEST_F(MenuTest, ANestedFoldersRootIsJudgedByItsOwnRecord) {
  Root(L"Outer", kNotRemovable);
  const std::wstring inner = Root(L"Outer\\Inner");
  EXPECT_THAT(MenuOf({inner}), ElementsAre(kSync, kRemoveHere, kRemoveEverywhere));
}

TEST_F(MenuTest, TheRootItselfGetsCommands) {
  EXPECT_THAT(MenuOf({Root()}), ElementsAre(kSync, kRemoveHere, kRemoveEverywhere));
}

TEST_F(MenuTest, TheAgentsOwnFilesGetNothing) {
  const std::wstring root = Root();
  EXPECT_THAT(MenuOf({root + L"\\.sync\\ID"}), IsEmpty());
  EXPECT_THAT(MenuOf({root + L"\\.sync"}), IsEmpty());
}

TEST_F(MenuTest, AFolderNamedAlmostLikeTheAgentsOwnIsOrdinary) {
  Root();
  EXPECT_THAT(MenuOf({File(L"Root\\.sync2\\a.txt")}), ElementsAre(kRemoveHere, kRemoveEverywhere));
  // Under Wine the two spellings reach the same folder; the path's text differs.
  File(L"Root\\.sync\\a.txt");
  EXPECT_THAT(MenuOf({folder_ / L"Root\\.Sync\\a.txt"}), ElementsAre(kRemoveHere, kRemoveEverywhere));
}

TEST_F(MenuTest, ADirectoryNamedIdMarksNoRoot) {
  LayFile(folder_ / L"Root\\.sync\\ID\\file", "x");
  LayFile(folder_ / L"Root\\.sync\\FolderType", EncodeFolderRecord({}));
  EXPECT_THAT(MenuOf({File(L"Root\\a.txt")}), IsEmpty());
}

TEST_F(MenuTest, TheRecordIsReadFromEachOfItsPlaces) {
  Root(L"InFile", {}, FolderRecordSource::kFile);
  Root(L"InStream", {}, FolderRecordSource::kStream);
  Root(L"InTypeStream", {}, FolderRecordSource::kTypeStream);
  for (const wchar_t* root : {L"InFile", L"InStream", L"InTypeStream"}) {
    EXPECT_THAT(MenuOf({File(std::wstring(root) + L"\\a.txt")}), ElementsAre(kRemoveHere, kRemoveEverywhere))
        << root;
  }
}

TEST_F(MenuTest, TheFirstPlaceThatOpensCountsEvenWhenItIsDamaged) {
  Root(L"Root", {}, FolderRecordSource::kStream);
  LayFile(folder_ / L"Root\\.sync\\FolderType", "no record");
  EXPECT_THAT(MenuOf({File(L"Root\\a.txt")}), IsEmpty());
}

TEST_F(MenuTest, ARootWithoutARecordGetsNothing) {
  LayRoot(folder_ / L"Root");
  EXPECT_THAT(MenuOf({File(L"Root\\a.txt")}), IsEmpty());
}

TEST_F(MenuTest, HostileRecordsGetNothingAndHarmNothing) {
  Root();
  const std::wstring file = File(L"Root\\a.txt");
  for (const std::string& bytes : {std::string(), std::string("d4:mode"), std::string("d4:modei1e"),
                                   std::string("d999999999999999999999:"), std::string(300'000, 'l'),
                                   std::string("d4:mode") + std::string(300'000, 'l')}) {
    LayFile(folder_ / L"Root\\.sync\\FolderType", bytes);
    EXPECT_THAT(MenuOf({file}), IsEmpty()) << bytes.substr(0, 20);
  }
}

TEST_F(MenuTest, APlaceholdersStateIsReadFromEachOfItsPlaces) {
  Root();
  for (const PlaceholderSource source : {PlaceholderSource::kStream, PlaceholderSource::kPredecessorStream,
                                         PlaceholderSource::kDownloadStream}) {
    const std::wstring file = folder_ / (L"Root\\" + std::to_wstring(static_cast<int>(source)) + L".ghpl");
    LayPlaceholder(file, {.progress = 45}, source);
    EXPECT_THAT(MenuOf({file}), ElementsAre(kCancel, kRemoveEverywhereGreyed)) << static_cast<int>(source);
  }
}

TEST_F(MenuTest, TheDownloadStreamDoesNotCountBesideTheAgentsOwn) {
  Root();
  const std::wstring file = folder_ / L"Root\\a.ghpl";
  LayFile(file + L":com.nimbrel.VeskardAgent", "de");
  LayPlaceholder(file, {.progress = 45}, PlaceholderSource::kDownloadStream);
  EXPECT_THAT(MenuOf({file}), ElementsAre(kSync, kRemoveEverywhere));
}

TEST_F(MenuTest, AShortDownloadStreamSaysNothing) {
  Root();
  const std::wstring file = File(L"Root\\a.ghpl");
  LayFile(file + L":VLKDOWN", std::string("\x2D\0\0\0", 4));
  EXPECT_THAT(MenuOf({file}), ElementsAre(kSync, kRemoveEverywhere));
}

TEST_F(MenuTest, AStatusThatIsAStringCountsAsBeingReceived) {
  Root();
  const std::wstring file = File(L"Root\\a.ghpl");
  LayFile(file + L":com.nimbrel.VeskardAgent", "d10:vlk_status2:45e");
  EXPECT_THAT(MenuOf({file}), ElementsAre(kCancel, kRemoveEverywhereGreyed));
}

TEST_F(MenuTest, APlaceholderWithoutAnyMarkIsNotBeingReceived) {
  Root();
  EXPECT_THAT(MenuOf({File(L"Root\\a.ghpl")}), ElementsAre(kSync, kRemoveEverywhere));
}

TEST_F(MenuTest, ItemsThatHaveGoneAreSkipped) {
  Root();
  const std::wstring gone = folder_ / L"Root\\gone.ghpl";
  EXPECT_THAT(MenuOf({File(L"Root\\a.txt"), gone}), ElementsAre(kRemoveHere, kRemoveEverywhere));
  EXPECT_THAT(MenuOf({gone, File(L"Root\\a.txt")}), IsEmpty());
}

TEST_F(MenuTest, ItemsHaveTheirPlacesNumbersTextsAndIcons) {
  Root();
  const ShellMenu menu = RightClick({Folder(L"Root\\Maps")});
  ASSERT_EQ(menu.Items().size(), 3u);
  const uint32_t offsets[] = {kSyncOffset, kRemoveHereOffset, kRemoveEverywhereOffset};
  for (uint32_t i = 0; i < 3; ++i) {
    const ShellMenuItem& item = menu.Items()[i];
    EXPECT_EQ(item.position, i);
    EXPECT_EQ(item.offset, offsets[i]);
    EXPECT_EQ(item.help, item.text);
    EXPECT_TRUE(item.hasBitmap);
    EXPECT_EQ(item.bitmapSize.cx, ::GetSystemMetrics(SM_CXMENUCHECK));
    EXPECT_EQ(item.bitmapSize.cy, ::GetSystemMetrics(SM_CYMENUCHECK));
  }
}

TEST_F(MenuTest, ItemsGoWhereTheHostWantsThem) {
  Root();
  const ShellMenu menu(ExtensionClasses(), {File(L"Root\\a.txt")}, {.amongOthers = true});
  ASSERT_EQ(menu.Items().size(), 2u);
  EXPECT_EQ(menu.Items()[0].position, 3u);
  EXPECT_EQ(menu.Items()[1].position, 4u);
}

TEST_F(MenuTest, ShareHasAHelpTextThoughTheMenuNeverShowsIt) {
  Root();
  const ShellMenu menu = RightClick({File(L"Root\\a.txt")});
  wchar_t text[100] = {};
  EXPECT_EQ(menu.Handler()->GetCommandString(kShareOffset, GCS_HELPTEXTW, nullptr,
                                             reinterpret_cast<char*>(text), 100),
            S_OK);
  EXPECT_STREQ(text, L"Share with Nimbrel Veskard Agent");
  EXPECT_EQ(menu.Find(text), nullptr);
}

TEST_F(MenuTest, CommandsHaveNoVerbs) {
  Root();
  const ShellMenu menu = RightClick({File(L"Root\\a.txt")});
  char text[200] = {};
  EXPECT_EQ(menu.Handler()->GetCommandString(kSyncOffset, GCS_VERBW, nullptr, text, 100), E_INVALIDARG);
  EXPECT_EQ(menu.Handler()->GetCommandString(kSyncOffset, GCS_VERBA, nullptr, text, 100), E_INVALIDARG);
  EXPECT_EQ(menu.Handler()->GetCommandString(6, GCS_HELPTEXTW, nullptr, text, 100), E_INVALIDARG);
}

TEST_F(MenuTest, TheTargetOfAShortcutIsRefused) {
  Root();
  const ShellMenu menu = RightClick({File(L"Root\\a.txt")}, CMF_VERBSONLY);
  EXPECT_EQ(menu.Answer(), E_NOTIMPL);
  EXPECT_THAT(menu.Items(), IsEmpty());
}

TEST_F(MenuTest, WithoutAnAgentTheMenuIsRefused) {
  Root();
  RemoveAgent();
  EXPECT_EQ(RightClick({File(L"Root\\a.txt")}).Answer(), E_NOTIMPL);
}

TEST_F(MenuTest, AnAgentIsThereWhenItsMutexIs) {
  Root();
  const std::wstring file = File(L"Root\\a.txt");
  ReplaceAgent({.withoutMutex = true});
  EXPECT_EQ(RightClick({file}).Answer(), E_NOTIMPL);
  ReplaceAgent({.withoutPipe = true});
  EXPECT_THAT(MenuOf({file}), ElementsAre(kRemoveHere, kRemoveEverywhere));
}

TEST_F(MenuTest, APerUserAgentAloneDoesNotCount) {
  Root();
  RemoveAgent();
  const StandinAgent perUser({.kind = AgentKind::kUser});
  EXPECT_EQ(RightClick({File(L"Root\\a.txt")}).Answer(), E_NOTIMPL);
}

TEST_F(MenuTest, AThousandItemsGetOneMenu) {
  Root();
  Paths paths;
  for (int i = 0; i < 1000; ++i) paths.push_back(Placeholder(L"Root\\" + std::to_wstring(i) + L".ghpl"));
  paths.push_back(File(L"Root\\last.txt"));
  EXPECT_THAT(MenuOf(paths), ElementsAre(kSync, kRemoveHere, kRemoveEverywhere));
}

}  // namespace
}  // namespace veskard::test
