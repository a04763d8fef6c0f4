// Questions that are in a hurry: nothing slow is touched for them.
#include <optional>

#include "tests/shellext/explorercommand/FirstMenu.h"
#include "tests/support/Patched.h"
#include "tests/support/WatchedCalls.h"

namespace veskard::test {
namespace {

class PatienceTest : public FirstMenuTest {
 protected:
  PatienceTest() {
    types_.emplace(library_.Module(), "GetDriveTypeW", [](auto original, LPCWSTR root) -> UINT {
      return root[0] == L'N' ? DRIVE_REMOTE : original(root);
    });
    tree_.MarkRoot(L"root", kSelectiveRemovable);
    file_ = tree_.MakeFile(L"root\\a.txt");
  }

  struct Answer {
    HRESULT result;
    EXPCMDSTATE state;
    bool operator==(const Answer&) const = default;
  };
  static constexpr Answer kPending = {E_PENDING, ECS_HIDDEN};
  static constexpr Answer kShown = {S_OK, ECS_ENABLED};
  static constexpr Answer kHidden = {S_OK, ECS_HIDDEN};

  static Answer Ask(IExplorerCommand& command, IShellItemArray* selection) {
    Answer answer = {E_FAIL, ECS_CHECKED};
    answer.result = command.GetState(selection, FALSE, &answer.state);
    return answer;
  }
  /// A new fly-out's answer in a hurry; no file may be touched for a pending one.
  Answer AskFor(const std::vector<std::wstring>& paths) const {
    StandInArray selection(paths);
    const auto flyOut = library_.NewFlyOut();
    const WatchedCalls calls(library_.Module(), {"GetFileAttributesW", "CreateFileW", "FindFirstFileExW"});
    const Answer answer = Ask(*flyOut.Get(), &selection);
    if (answer.result == E_PENDING) {
      EXPECT_EQ(calls.Of("GetFileAttributesW") + calls.Of("CreateFileW") + calls.Of("FindFirstFileExW"), 0);
    }
    return answer;
  }

  std::optional<Patched<&::GetDriveTypeW>> types_;  // N: is a network drive
  std::wstring file_;
};

TEST_F(PatienceTest, ALocalItemIsAnsweredAtOnce) {
  EXPECT_EQ(AskFor({file_}), kShown);
}

TEST_F(PatienceTest, ALocalItemWithTheLongPrefixIsLocal) {
  EXPECT_EQ(AskFor({L"\\\\?\\" + file_}), kShown);
  EXPECT_EQ(AskFor({L"\\\\.\\" + file_}), kShown);
}

TEST_F(PatienceTest, ANetworkDriveIsPending) {
  EXPECT_EQ(AskFor({L"N:\\a.txt"}), kPending);
  EXPECT_EQ(AskFor({L"n:\\a.txt"}), kPending);
  EXPECT_EQ(AskFor({L"N:"}), kPending);
}

TEST_F(PatienceTest, ANetworkDriveWithTheLongPrefixIsPending) {
  EXPECT_EQ(AskFor({L"\\\\?\\N:\\a.txt"}), kPending);
  EXPECT_EQ(AskFor({L"\\\\.\\n:\\a.txt"}), kPending);
}

TEST_F(PatienceTest, AShareIsPending) {
  EXPECT_EQ(AskFor({L"\\\\server\\share\\a.txt"}), kPending);
  EXPECT_EQ(AskFor({L"\\\\server"}), kPending);
}

TEST_F(PatienceTest, AShareWithTheLongPrefixIsPending) {
  EXPECT_EQ(AskFor({L"\\\\?\\UNC\\server\\share\\a.txt"}), kPending);
  EXPECT_EQ(AskFor({L"\\\\?\\unc\\server\\share\\a.txt"}), kPending);
}

TEST_F(PatienceTest, AVolumeByItsNameIsLocal) {
  EXPECT_EQ(AskFor({L"\\\\?\\Volume{00000000-0000-0000-0000-000000000000}\\a.txt"}), kHidden);
}

TEST_F(PatienceTest, WhatCannotBeToldIsPending) {
  EXPECT_EQ(AskFor({L"\\\\?\\GLOBALROOT\\Device\\Mup\\server\\share\\a.txt"}), kPending);
}

TEST_F(PatienceTest, ASlowItemAnywhereIsEnough) {
  EXPECT_EQ(AskFor({file_, file_, L"N:\\a.txt"}), kPending);
  EXPECT_EQ(AskFor({tree_.MakeFile(L"outside.txt"), L"\\\\server\\share\\a.txt"}), kPending);
}

TEST_F(PatienceTest, WithPatienceASlowItemIsAskedToo) {
  StandInArray selection({file_, L"N:\\gone.txt"});
  const auto flyOut = library_.NewFlyOut();
  EXPECT_EQ(Ask(*flyOut.Get(), &selection), kPending);
  EXPECT_EQ(FirstMenuLetters(*flyOut.Get(), &selection), "RA");
  EXPECT_EQ(selection.NameQuestions(), 2) << "the paths were known already";
}

TEST_F(PatienceTest, WhatIsKnownAlreadyIsAnsweredAtOnce) {
  StandInArray selection({file_, L"N:\\gone.txt"});
  const auto flyOut = library_.NewFlyOut();
  const auto children = ChildrenOf(*flyOut.Get());
  EXPECT_EQ(Ask(*children[3].Get(), &selection), kPending);
  EXPECT_EQ(StateOf(*flyOut.Get(), &selection), ECS_ENABLED);
  EXPECT_EQ(Ask(*flyOut.Get(), &selection), kShown);
  EXPECT_EQ(Ask(*children[3].Get(), &selection), kShown);
  EXPECT_EQ(Ask(*children[0].Get(), &selection), kHidden);
}

TEST_F(PatienceTest, WithoutAnAgentTheSelectionIsNotEvenAsked) {
  service_ = std::nullopt;
  StandInArray selection({L"\\\\server\\share\\a.txt"});
  const auto flyOut = library_.NewFlyOut();
  EXPECT_EQ(Ask(*flyOut.Get(), &selection), kHidden);
  EXPECT_EQ(selection.Questions(), 0);
}

TEST_F(PatienceTest, WithoutAnAgentWhatWasPendingIsHidden) {
  StandInArray selection({L"\\\\server\\share\\a.txt"});
  const auto flyOut = library_.NewFlyOut();
  EXPECT_EQ(Ask(*flyOut.Get(), &selection), kPending);
  service_ = std::nullopt;
  EXPECT_EQ(Ask(*flyOut.Get(), &selection), kHidden);
}

TEST_F(PatienceTest, NoArrayIsHiddenAtOnce) {
  EXPECT_EQ(Ask(*library_.NewFlyOut().Get(), nullptr), kHidden);
}

TEST_F(PatienceTest, EachDriveIsAskedForItsKindOnce) {
  StandInArray selection({file_, file_, L"\\\\?\\" + file_});
  const auto flyOut = library_.NewFlyOut();
  int questions = 0;
  types_.reset();
  types_.emplace(library_.Module(), "GetDriveTypeW", [&](auto original, LPCWSTR root) {
    EXPECT_EQ(std::wstring(root), file_.substr(0, 3));
    ++questions;
    return original(root);
  });
  EXPECT_EQ(Ask(*flyOut.Get(), &selection), kShown);
  EXPECT_EQ(questions, 1);
}

TEST_F(PatienceTest, WithPatienceNoDriveIsAskedForItsKind) {
  StandInArray selection({file_});
  const auto flyOut = library_.NewFlyOut();
  types_.reset();
  const WatchedCalls calls(library_.Module(), {"GetDriveTypeW"});
  EXPECT_EQ(StateOf(*flyOut.Get(), &selection), ECS_ENABLED);
  EXPECT_EQ(calls.Of("GetDriveTypeW"), 0);
}

}  // namespace
}  // namespace veskard::test
