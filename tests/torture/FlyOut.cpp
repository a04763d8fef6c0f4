// A menu of Explorer's own, from the class object to the last Release: states, titles,
// pictures and children. One of many, and the first with a library, which loads the texts.
#include <gmock/gmock.h>

#include <algorithm>

#include "core/TaskMemory.h"
#include "shellext/ClassIds.h"
#include "shellext/contextmenu/MenuSelection.h"
#include "tests/support/FakeAgent.h"
#include "tests/support/StandInArray.h"
#include "tests/support/SyncTree.h"
#include "tests/torture/Scenario.h"
#include "util/string/CodePage.h"

namespace veskard::test {
namespace {

using testing::AnyOf;
using testing::EndsWith;

/// A string of the library's, and what came with it.
struct Text {
  HRESULT result = E_UNEXPECTED;
  std::wstring text;
};

/// What one command says about the selection.
struct Answers {
  HRESULT quickResult = E_UNEXPECTED, result = E_UNEXPECTED;
  EXPCMDSTATE quickState = ECS_CHECKED, state = ECS_CHECKED;
  Text title, icon;
};

using TextMethod = HRESULT (STDMETHODCALLTYPE IExplorerCommand::*)(IShellItemArray*, wchar_t**);

// Freed as the host frees it.
Text AskText(IExplorerCommand& command, TextMethod method, IShellItemArray* selection) {
  UniqueTaskString text;
  const HRESULT result = (command.*method)(selection, text.Out());
  EXPECT_EQ(!text, FAILED(result));
  if (text) Faults::Take(Held::kTaskBlock, -1);
  return {result, text ? text.Get() : L""};
}

Answers Ask(IExplorerCommand& command, IShellItemArray* selection) {
  Answers answers;
  answers.quickResult = command.GetState(selection, FALSE, &answers.quickState);
  answers.result = command.GetState(selection, TRUE, &answers.state);
  answers.title = AskText(command, &IExplorerCommand::GetTitle, selection);
  answers.icon = AskText(command, &IExplorerCommand::GetIcon, selection);
  return answers;
}

/// What a command always is, and its state in the whole menu.
struct Face {
  const wchar_t* title;
  const wchar_t* icon;  // the end of it
  EXPCMDSTATE state;
};
constexpr char kWholeMenu[] = "SCRa";
constexpr Face kFlyOutFace = {L"Nimbrel Veskard Agent", L"\\VeskardExplorerCommand.dll,-111", ECS_ENABLED};
constexpr Face kChildFaces[] = {
    {L"Sync to this device", L"\\VeskardExplorerCommand.dll,-110", ECS_ENABLED},
    {L"Cancel receiving", L"\\VeskardExplorerCommand.dll,-110", ECS_ENABLED},
    {L"Remove from this device", L"\\VeskardExplorerCommand.dll,-108", ECS_ENABLED},
    {L"Remove from all devices", L"\\VeskardExplorerCommand.dll,-109", ECS_DISABLED},
};

// What may be missing when this function fails once; nothing is with any other.
struct Loss {
  const char* function;
  std::vector<std::string> menus;
};
const std::vector<Loss>& Losses() {
  // clang-format off
  static const std::vector<Loss> losses = {
      // An item that cannot be asked about is passed over.
      {"GetFileAttributesW", {"", "SRA"}},
      // A mark that cannot be read counts as its default.
      {"CreateFileW",        {"", "SRA"}},
      {"FindFirstFileExW",   {"", "SRA"}},
      {"GetFileSizeEx",      {"", "SRA"}},
      {"ReadFile",           {"", "SRA"}},
      // Asked once: whoever cannot be told to be the owner is not taken for it.
      {"GetUserNameW",       {""}},
      {"OpenMutexW",         {""}},
  };
  // clang-format on
  return losses;
}

class FlyOut final : public ExplorerCommandScenario {
 public:
  explicit FlyOut(bool isFirst) : isFirst_(isFirst) {
    tree_.MarkRoot(L"root", SelectiveOwnedBy(Utf8FromWide(CurrentUserName())));
    items_ = {tree_.MakeFolder(L"root\\a"), tree_.MakePlaceholder(L"root\\b.ghpl", kReceiving)};
  }

  bool IsOnce() const override { return isFirst_; }

 private:
  void Prepare(const ExplorerCommandLibrary&) override {
    given_ = created_ = enumerated_ = cloned_ = E_UNEXPECTED;
    flyOut_ = {};
    children_.clear();
  }

  void Run(const ExplorerCommandLibrary& library) override {
    StandInArray selection(items_);
    Show(library, selection);
  }

  void Show(const ExplorerCommandLibrary& library, StandInArray& selection) {
    UniqueCom<IClassFactory> factory;
    given_ = library.DllGetClassObject(ClassId(kExplorerCommandClass), IID_IClassFactory,
                                       reinterpret_cast<void**>(factory.Out()));
    if (FAILED(given_)) return;
    ExplorerCommandPointer flyOut;
    created_ =
        factory.Get()->CreateInstance(nullptr, IID_IExplorerCommand, reinterpret_cast<void**>(flyOut.Out()));
    if (FAILED(created_)) return;
    flyOut_ = Ask(*flyOut.Get(), &selection);
    UniqueCom<IEnumExplorerCommand> enumerator, clone;
    enumerated_ = flyOut.Get()->EnumSubCommands(enumerator.Out());
    if (FAILED(enumerated_)) return;
    cloned_ = enumerator.Get()->Clone(clone.Out());
    AskChildren(*enumerator.Get(), &selection);
  }

  void AskChildren(IEnumExplorerCommand& enumerator, IShellItemArray* selection) {
    IExplorerCommand* children[5] = {};
    ULONG fetched = 0;
    EXPECT_EQ(enumerator.Next(5, children, &fetched), S_FALSE);
    EXPECT_EQ(fetched, 4u);
    for (ULONG i = 0; i < fetched; ++i) {
      const ExplorerCommandPointer child(children[i]);
      children_.push_back(Ask(*child.Get(), selection));
    }
  }

  void Check(const Struck& struck) override {
    if (struck.Nothing()) {
      ExpectWhole();
    } else if (struck.Memory()) {
      ExpectRightOrOutOfMemory();
    } else {
      ExpectRightButFor(struck);
    }
  }

  void ExpectWhole() const {
    for (const HRESULT result : {given_, created_, enumerated_, cloned_}) EXPECT_EQ(result, S_OK);
    ASSERT_EQ(children_.size(), 4u);
    EXPECT_EQ(Letters(), kWholeMenu);
    ForEach([](const Answers& answers, const Face& face) {
      EXPECT_EQ(answers.quickResult, S_OK);
      EXPECT_EQ(answers.quickState, face.state);
      EXPECT_EQ(answers.result, S_OK);
      EXPECT_EQ(answers.state, face.state);
      EXPECT_EQ(answers.title.text, face.title);
      EXPECT_THAT(answers.icon.text, EndsWith(face.icon));
    });
  }

  // Each answer by itself: a host that gets some memory back goes on asking.
  void ExpectRightOrOutOfMemory() const {
    for (const HRESULT result : {given_, created_, enumerated_, cloned_})
      EXPECT_THAT(result, AnyOf(S_OK, E_OUTOFMEMORY, E_UNEXPECTED)) << "the last: not asked";
    ForEach([](const Answers& answers, const Face& face) {
      ExpectState(answers.quickResult, answers.quickState, face.state);
      ExpectState(answers.result, answers.state, face.state);
      ExpectText(answers.title, face.title);
      ExpectText(answers.icon, face.icon);
    });
  }

  void ExpectRightButFor(const Struck& struck) const {
    for (const HRESULT result : {given_, created_, enumerated_, cloned_}) EXPECT_EQ(result, S_OK);
    ASSERT_EQ(children_.size(), 4u);
    const std::string letters = Letters();
    EXPECT_EQ(flyOut_.state, letters.empty() ? ECS_HIDDEN : ECS_ENABLED) << letters;
    EXPECT_TRUE(struck.Everything() || IsPermitted(struck.function, letters)) << letters;
    const bool isPathKnown = !struck.Everything() && !struck.Only("GetModuleFileNameW");
    ForEach([&](const Answers& answers, const Face& face) {
      EXPECT_EQ(answers.result, S_OK);
      ExpectQuick(answers, struck);
      EXPECT_EQ(answers.title.result, S_OK);
      EXPECT_EQ(answers.title.text, face.title);
      EXPECT_THAT(answers.icon.result, isPathKnown ? AnyOf(S_OK, S_OK) : AnyOf(S_OK, E_FAIL));
      EXPECT_THAT(answers.icon.text, EndsWith(SUCCEEDED(answers.icon.result) ? face.icon : L""));
    });
  }

  static void ExpectState(HRESULT result, EXPCMDSTATE state, EXPCMDSTATE right) {
    EXPECT_THAT(result, AnyOf(S_OK, E_OUTOFMEMORY));
    EXPECT_EQ(state, result == S_OK ? right : EXPCMDSTATE{ECS_HIDDEN});
  }

  static void ExpectText(const Text& text, const wchar_t* right) {
    EXPECT_THAT(text.result, AnyOf(S_OK, E_OUTOFMEMORY));
    EXPECT_THAT(text.text, EndsWith(text.result == S_OK ? right : L""));
  }

  // A drive of a kind that cannot be told may be slow.
  static void ExpectQuick(const Answers& answers, const Struck& struck) {
    if (answers.quickResult == E_PENDING) {
      EXPECT_TRUE(struck.Everything() || struck.Only("GetDriveTypeW")) << struck.function;
      EXPECT_EQ(answers.quickState, ECS_HIDDEN);
    } else {
      EXPECT_EQ(answers.quickResult, S_OK);
      EXPECT_EQ(answers.quickState, answers.state);
    }
  }

  static bool IsPermitted(std::string_view function, const std::string& menu) {
    if (menu == kWholeMenu) return true;
    for (const Loss& loss : Losses()) {
      if (function == loss.function) return std::ranges::find(loss.menus, menu) != loss.menus.end();
    }
    return false;
  }

  // The fly-out, where it was made, and the children that were.
  template <class Use>
  void ForEach(const Use& use) const {
    if (created_ == S_OK) use(flyOut_, kFlyOutFace);
    for (size_t i = 0; i < children_.size(); ++i) use(children_[i], kChildFaces[i]);
  }

  std::string Letters() const {
    std::string letters;
    for (size_t i = 0; i < children_.size(); ++i) {
      if (children_[i].state == ECS_HIDDEN) continue;
      letters += children_[i].state == ECS_DISABLED ? "scra"[i] : "SCRA"[i];
    }
    return letters;
  }

  const bool isFirst_;
  SyncTree tree_;
  FakeAgentMutex service_{AgentKind::kService};
  std::vector<std::wstring> items_;
  HRESULT given_ = S_OK, created_ = S_OK, enumerated_ = S_OK, cloned_ = S_OK;
  Answers flyOut_;
  std::vector<Answers> children_;
};

}  // namespace

std::unique_ptr<Scenario> NewFlyOut() {
  return std::make_unique<FlyOut>(false);
}

std::unique_ptr<Scenario> NewFirstFlyOut() {
  return std::make_unique<FlyOut>(true);
}

}  // namespace veskard::test
