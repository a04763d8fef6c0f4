// Choosing a command, in either menu: from the host's call to the end of its sender.
#include <gmock/gmock.h>

#include <optional>

#include "tests/shellext/contextmenu/LibraryMenu.h"
#include "tests/support/StandInArray.h"
#include "tests/torture/Scenario.h"
#include "util/string/CodePage.h"

namespace veskard::test {
namespace {

using testing::AnyOf;

std::string Message(int action, const std::wstring& path, bool last) {
  const std::string bytes = Utf8FromWide(path);
  return "d6:actioni" + std::to_string(action) + "e" + (last ? "4:lasti1e" : "") + "4:path" +
         std::to_string(bytes.size()) + ":" + bytes + "e";
}

template <class Library>
class ChoiceScenario : public LibraryScenario<Library> {
 protected:
  ChoiceScenario() {
    tree_.MarkRoot(L"root", kSelective);
    items_ = {tree_.MakeFile(L"root\\a.txt"), tree_.MakeFile(L"root\\b.txt")};
  }

  const std::vector<std::wstring>& Items() const { return items_; }

  virtual void ShowMenu(const Library& library) = 0;
  /// `action`: from 3 to 6, as the agent calls it.
  virtual HRESULT Choose(int action) = 0;

 private:
  void Prepare(const Library& library) override {
    ShowMenu(library);
    // Each round sends another action, so that one that comes late is known.
    action_ = action_ == 6 ? 3 : action_ + 1;
  }

  void Run(const Library&) override {
    const ptrdiff_t senders = Faults::Taken(Held::kSender);
    result_ = Choose(action_);
    for (int i = 0; i < 3000 && Faults::Taken(Held::kSender) != senders; ++i) ::Sleep(1);
    EXPECT_EQ(Faults::Taken(Held::kSender), senders) << "the sender does not end";
  }

  void Check(const Struck& struck) override {
    if (struck.Nothing()) return CheckWhole();
    CheckCode(struck);
    mayStillCome_ = std::move(mayCome_);
    mayCome_.clear();
    if (struck.Memory()) {
      // Whole, or nothing: a client may have come and gone without a word.
      mayCome_ = {PipeMessages(), Whole()};
    } else if (struck.Everything()) {
      mayCome_ = {PipeMessages(), {First()}, {Last()}, Whole()};
    } else if (struck.function == "SetNamedPipeHandleState") {
      mayCome_ = {PipeMessages()};
    } else if (struck.function == "WriteFile") {
      mayCome_ = {PipeMessages{First()}, PipeMessages{Last()}};  // the other message is offered all the same
    } else if (struck.function == "GlobalLock" || struck.function == "GlobalSize") {
      // Names that cannot be had are sent empty, which names nothing.
      mayCome_ = {PipeMessages{Message(action_, L"", false), Message(action_, L"", true)}};
    } else if (struck.function == "WideCharToMultiByte") {
      mayCome_ = {PipeMessages{Message(action_, L"", false), Last()},
                  PipeMessages{First(), Message(action_, L"", true)}};
    } else if (!IsDropped(struck)) {
      CheckWhole();
    }
  }

  std::string First() const { return Message(action_, items_[0], false); }
  std::string Last() const { return Message(action_, items_[1], true); }
  PipeMessages Whole() const { return {First(), Last()}; }

  // Without any of these there is no way to the agent.
  static bool IsDropped(const Struck& struck) {
    return struck.function == "OpenMutexW" || struck.function == "GetModuleHandleExW" ||
           struck.function == "CreateThread" || struck.function == "CreateFileW";
  }

  void CheckCode(const Struck& struck) const {
    if (struck.Memory()) {
      EXPECT_THAT(result_, AnyOf(S_OK, E_OUTOFMEMORY));
    } else if (struck.Only("CreateThread")) {
      EXPECT_EQ(result_, HRESULT_FROM_WIN32(ERROR_NOT_ENOUGH_MEMORY));
    } else if (struck.Only("GetModuleHandleExW")) {
      EXPECT_EQ(result_, HRESULT_FROM_WIN32(ERROR_NO_SYSTEM_RESOURCES));
    } else if (!struck.Everything()) {
      EXPECT_EQ(result_, S_OK);
    }
  }

  // The next batch is this command's, except for what a failed command before it may have
  // left behind. The agent serves several clients at once, and one that broke off may
  // be noticed after the next one.
  void CheckWhole() {
    EXPECT_EQ(result_, S_OK);
    auto batch = agent_.NextBatch();
    while (batch && *batch != Whole() && (TakeFrom(mayCome_, *batch) || TakeFrom(mayStillCome_, *batch)))
      batch = agent_.NextBatch();
    EXPECT_EQ(batch, Whole());
  }

  /// Whether `batches` had the batch; it is expected no more, nor is another in its place.
  static bool TakeFrom(std::vector<PipeMessages>& batches, const PipeMessages& batch) {
    if (std::ranges::find(batches, batch) == batches.end()) return false;
    batches.clear();
    return true;
  }

  SyncTree tree_;
  FakeAgent agent_{AgentKind::kService};
  std::vector<std::wstring> items_;
  int action_ = 3;
  HRESULT result_ = S_OK;
  std::vector<PipeMessages> mayCome_;       // one of these, of the last struck command
  std::vector<PipeMessages> mayStillCome_;  // and of the one before
};

class Choice final : public ChoiceScenario<ExtensionLibrary> {
  void ShowMenu(const ExtensionLibrary& library) override {
    handler_ = std::make_unique<MenuHandler>(library);
    selection_.emplace(Items());
    handler_->Select(&*selection_);
    const UniqueMenu menu(::CreatePopupMenu());
    EXPECT_EQ(handler_->Query(menu.Get()), 6);
    handler_->Select(nullptr);
  }

  HRESULT Choose(int action) override { return handler_->Invoke(static_cast<UINT_PTR>(action - 1)); }

  void Finish() override {
    handler_.reset();
    EXPECT_EQ(selection_->ListsInUse(), 0) << "the handler is gone, its list should be too";
  }

  std::optional<FakeDataObject> selection_;
  std::unique_ptr<MenuHandler> handler_;
};

class FlyOutChoice final : public ChoiceScenario<ExplorerCommandLibrary> {
  void ShowMenu(const ExplorerCommandLibrary& library) override {
    children_ = ChildrenOf(*library.NewFlyOut().Get());
    EXPECT_EQ(children_.size(), 4u);
  }

  HRESULT Choose(int action) override {
    StandInArray selection(Items());
    return children_[static_cast<size_t>(action - 3)].Get()->Invoke(&selection, nullptr);
  }

  void Finish() override { children_.clear(); }

  std::vector<ExplorerCommandPointer> children_;
};

}  // namespace

std::unique_ptr<Scenario> NewChoice() {
  return std::make_unique<Choice>();
}

std::unique_ptr<Scenario> NewFlyOutChoice() {
  return std::make_unique<FlyOutChoice>();
}

}  // namespace veskard::test
