// Both menus for the same selections: the same commands, the same greyed ones, the same bytes.
#include <map>
#include <optional>
#include <random>

#include "tests/shellext/contextmenu/LibraryMenu.h"
#include "tests/shellext/explorercommand/FirstMenu.h"
#include "tests/support/FileTools.h"

namespace veskard::test {
namespace {

constexpr int kSelections = 3000;
constexpr size_t kMostItems = 12;

class BothMenusTest : public FirstMenuTest {
 protected:
  BothMenusTest() {
    SetLogSwitch(0);
    service_ = std::nullopt;
    int number = 0;
    for (const std::string& record : Records()) MakeFolderWith(L"root" + std::to_wstring(number++), record);
    MakeFolderWith(L"root0\\nested", kSelectiveRemovable);
    tree_.MarkRoot(L"bare");
    paths_.push_back(tree_.MakeFile(L"bare\\a.txt"));
    AddOddOnes();
  }

  static std::vector<std::string> Records() {
    return {kSelective,
            kSelectiveRemovable,
            kNotSelective,
            SelectiveOwnedBy(""),
            SelectiveOwnedBy("somebody else"),
            "d31:disable_remove_from_all_devicesi1e4:modei1e4:typei2ee",
            "no record"};
  }

  void MakeFolderWith(const std::wstring& root, const std::string& record) {
    paths_.push_back(tree_.MarkRoot(root, record));
    paths_.push_back(tree_.MakeFile(root + L"\\\u00E4\u20AC.txt"));
    paths_.push_back(tree_.MakeFolder(root + L"\\folder"));
    paths_.push_back(tree_.MakeFolder(root + L"\\folder.ghpl"));
    paths_.push_back(tree_.MakePlaceholder(root + L"\\waiting.ghpl", kNotReceived));
    paths_.push_back(tree_.MakePlaceholder(root + L"\\RECEIVING.GHPL", kReceiving));
    paths_.push_back(tree_.Path(root + L"\\.sync\\ID"));
    paths_.push_back(tree_.Path(root + L"\\gone.txt"));
  }

  void AddOddOnes() {
    paths_.push_back(tree_.MakeFile(L"outside.txt"));
    paths_.push_back(tree_.MakePlaceholder(L"outside.ghpl", kReceiving));
    paths_.push_back(L"C:\\");
    paths_.push_back(L"Q:\\nowhere\\a.txt");
    paths_.push_back(L"\\\\?\\" + tree_.Path(L"root1\\folder"));
    // The longest that the classic menu reads whole.
    const size_t length = 259 - tree_.Path(L"root1\\").size();
    paths_.push_back(tree_.MakeFile(L"root1\\" + std::wstring(length, L'x')));
  }

  std::vector<std::wstring> NextSelection() {
    std::vector<std::wstring> selection(random_() % (kMostItems + 1));
    for (std::wstring& path : selection) path = paths_[random_() % paths_.size()];
    return selection;
  }

  // The letters of the menu and, of a command chosen in it, the bytes; none where a selection
  // is empty.
  struct Outcome {
    std::string letters;
    std::optional<PipeMessages> messages;
    bool operator==(const Outcome&) const = default;
  };

  Outcome Classic(const std::vector<std::wstring>& paths, size_t child) {
    Outcome outcome;
    const MenuHandler handler(classic_);
    FakeDataObject selection(paths);
    handler.Select(&selection);
    const UniqueMenu menu(::CreatePopupMenu());
    EXPECT_EQ(handler.Query(menu.Get()), 6);
    outcome.letters = Letters(ItemsOf(menu.Get()));
    if (!paths.empty()) {
      EXPECT_EQ(handler.Invoke(child + 2), S_OK);
      outcome.messages = agent_.NextBatch();
    }
    handler.Select(nullptr);
    return outcome;
  }

  Outcome First(const std::vector<std::wstring>& paths, size_t child) {
    Outcome outcome;
    StandInArray selection(paths);
    const auto flyOut = library_.NewFlyOut();
    outcome.letters = FirstMenuLetters(*flyOut.Get(), &selection);
    if (!paths.empty()) {
      EXPECT_EQ(ChildrenOf(*flyOut.Get())[child].Get()->Invoke(&selection, nullptr), S_OK);
      outcome.messages = agent_.NextBatch();
    }
    return outcome;
  }

  FakeAgent agent_{AgentKind::kService};
  ExtensionLibrary classic_;
  std::vector<std::wstring> paths_;
  std::mt19937 random_{20260401};  // the same selections in every run
};

TEST_F(BothMenusTest, OfferAndSendTheSame) {
  std::map<std::string, int> menus;
  for (int i = 0; i < kSelections && !HasFailure(); ++i) {
    const std::vector<std::wstring> selection = NextSelection();
    const size_t child = random_() % 4;
    const Outcome classic = Classic(selection, child);
    const Outcome first = First(selection, child);
    ++menus[classic.letters];
    EXPECT_EQ(first.letters, classic.letters) << "selection " << i;
    EXPECT_EQ(first.messages, classic.messages) << "selection " << i;
    EXPECT_EQ(classic.messages.has_value(), !selection.empty()) << "selection " << i;
  }
  // They were not all alike.
  EXPECT_GE(menus.size(), 12u);
  for (const auto& [letters, times] : menus) RecordProperty("menu_" + letters, times);
}

}  // namespace
}  // namespace veskard::test
