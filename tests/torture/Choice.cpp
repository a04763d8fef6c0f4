// Choosing a command: from InvokeCommand to the end of its sender.
#include <gmock/gmock.h>

#include "tests/shellext/contextmenu/LibraryMenu.h"
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

class Choice final : public Scenario {
 public:
  Choice() {
    tree_.MarkRoot(L"root", kSelective);
    items_ = {tree_.MakeFile(L"root\\a.txt"), tree_.MakeFile(L"root\\b.txt")};
  }

  void Prepare(const ExtensionLibrary& library) override {
    handler_ = std::make_unique<MenuHandler>(library);
    FakeDataObject selection(items_);
    handler_->Select(&selection);
    const UniqueMenu menu(::CreatePopupMenu());
    EXPECT_EQ(handler_->Query(menu.Get()), 6);
    handler_->Select(nullptr);
    // Each round sends another action, so that one that comes late is known.
    action_ = action_ == 6 ? 3 : action_ + 1;
  }

  void Run(const ExtensionLibrary&) override {
    const ptrdiff_t senders = Faults::Taken(Held::kSender);
    result_ = handler_->Invoke(static_cast<UINT_PTR>(action_ - 1));
    for (int i = 0; i < 3000 && Faults::Taken(Held::kSender) != senders; ++i) ::Sleep(1);
    EXPECT_EQ(Faults::Taken(Held::kSender), senders) << "the sender does not end";
  }

  void Check(const Struck& struck) override {
    if (struck.Nothing()) return CheckWhole();
    CheckCode(struck);
    if (struck.Memory()) {
      // Whole, or nothing: a client may have come and gone without a word.
      mayCome_ = {PipeMessages(), Whole()};
    } else if (struck.Everything()) {
      mayCome_ = {PipeMessages(), {First()}, {Last()}, Whole()};
    } else if (struck.function == "SetNamedPipeHandleState") {
      mayCome_ = {PipeMessages()};
    } else if (struck.function == "WriteFile") {
      mayCome_ = {PipeMessages{First()}, PipeMessages{Last()}};  // the other message is offered all the same
    } else if (struck.function == "DragQueryFileW" || struck.function == "WideCharToMultiByte") {
      // A name that cannot be had is sent empty, which names nothing.
      mayCome_ = {PipeMessages{Message(action_, L"", false), Last()},
                  PipeMessages{First(), Message(action_, L"", true)}};
    } else if (!IsDropped(struck)) {
      CheckWhole();
    }
  }

  void Finish() override { handler_.reset(); }

 private:
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

  // The next batch is this command's, but for one of the struck command before that
  // it may have left behind.
  void CheckWhole() {
    EXPECT_EQ(result_, S_OK);
    auto batch = agent_.NextBatch();
    if (batch && *batch != Whole() && std::ranges::find(mayCome_, *batch) != mayCome_.end())
      batch = agent_.NextBatch();
    EXPECT_EQ(batch, Whole());
    mayCome_.clear();
  }

  SyncTree tree_;
  FakeAgent agent_{AgentKind::kService};
  std::vector<std::wstring> items_;
  std::unique_ptr<MenuHandler> handler_;
  int action_ = 3;
  HRESULT result_ = S_OK;
  std::vector<PipeMessages> mayCome_;
};

}  // namespace

std::unique_ptr<Scenario> NewChoice() {
  return std::make_unique<Choice>();
}

}  // namespace veskard::test
