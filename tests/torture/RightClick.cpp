// A right-click from the class object to the last Release, in a menu that holds
// items of the host's own: one of many, and the first with a library, which draws the
// pictures.
#include <gmock/gmock.h>

#include "shellext/ClassIds.h"
#include "tests/shellext/contextmenu/LibraryMenu.h"
#include "tests/torture/Scenario.h"

namespace veskard::test {
namespace {

using testing::AnyOf;
using testing::StartsWith;

constexpr wchar_t kHostsFirst[] = L"Open";
constexpr wchar_t kHostsLast[] = L"Properties";

std::string CurrentUser() {
  char name[256] = {};
  DWORD size = sizeof(name);
  ::GetUserNameA(name, &size);
  return name;
}

// What may be missing when this function fails once; nothing is with any other.
struct Loss {
  const char* function;
  std::vector<std::string> menus;
};
const std::vector<Loss>& Losses() {
  // clang-format off
  static const std::vector<Loss> losses = {
      // An item that cannot be asked about is passed over.
      {"GetFileAttributesW",        {"", "SRA"}},
      // A list that cannot be read has no items.
      {"GlobalLock",                {""}},
      {"GlobalSize",                {""}},
      // A mark that cannot be read counts as its default.
      {"CreateFileW",               {"", "SRA"}},
      {"FindFirstFileExW",          {"", "SRA"}},
      {"GetFileSizeEx",             {"", "SRA"}},
      {"ReadFile",                  {"", "SRA"}},
      // One of ours is missing, the others and the host's are in order.
      {"InsertMenuW",               {"CRa", "SRa", "SCa", "SCR"}},
      {"OpenMutexW",                {""}},
  };
  // clang-format on
  return losses;
}

class RightClick final : public ExtensionScenario {
 public:
  explicit RightClick(bool isFirst) : isFirst_(isFirst) {
    tree_.MarkRoot(L"root", SelectiveOwnedBy(CurrentUser()));
    items_ = {tree_.MakeFolder(L"root\\a"), tree_.MakePlaceholder(L"root\\b.ghpl", kReceiving)};
  }

  bool IsOnce() const override { return isFirst_; }

  void Prepare(const ExtensionLibrary&) override {
    menu_.Reset(::CreatePopupMenu());
    ::InsertMenuW(menu_.Get(), 0, MF_BYPOSITION, 1, kHostsFirst);
    ::InsertMenuW(menu_.Get(), 1, MF_BYPOSITION, 2, kHostsLast);
    shown_.clear();
    created_ = queried_ = asked_ = E_UNEXPECTED;
    help_[0] = L'\0';
  }

  void Run(const ExtensionLibrary& library) override {
    FakeDataObject selection(items_);
    Click(library, selection);
    EXPECT_EQ(selection.References(), 0u);
    EXPECT_EQ(selection.ListsInUse(), 0) << "the handler is gone, its list should be too";
  }

  void Check(const Struck& struck) override {
    if (struck.Nothing()) return CheckAll();
    CheckCodes(struck);
    CheckHostsItems();
    const std::string ours = Ours();
    if (FAILED(queried_)) {
      EXPECT_EQ(ours, "");
    } else if (struck.Memory()) {
      EXPECT_EQ(ours, "SCRa");
    } else if (struck.Only("GetUserNameW")) {
      // Asked once: when the user's name is unknown, the user does not count as the owner.
      EXPECT_EQ(ours, "");
    } else if (!struck.Everything()) {
      EXPECT_TRUE(IsPermitted(struck.function, ours)) << ours;
    }
  }

  void Finish() override { menu_.Reset(); }

 private:
  void Click(const ExtensionLibrary& library, FakeDataObject& selection) {
    UniqueCom<IContextMenu> handler;
    created_ = library.Create(kContextMenuClass, IID_IContextMenu, handler);
    if (FAILED(created_)) return;
    UniqueCom<IShellExtInit> init;
    EXPECT_EQ(handler.Get()->QueryInterface(IID_IShellExtInit, reinterpret_cast<void**>(init.Out())), S_OK);
    EXPECT_EQ(init.Get()->Initialize(nullptr, &selection, nullptr), S_OK);
    queried_ = handler.Get()->QueryContextMenu(menu_.Get(), 1, kFirstId, kFirstId + 100, CMF_NORMAL);
    shown_ = ItemsOf(menu_.Get());
    asked_ = handler.Get()->GetCommandString(2, GCS_HELPTEXTW, nullptr, reinterpret_cast<char*>(help_), 100);
    init.Get()->Initialize(nullptr, nullptr, nullptr);
    EXPECT_EQ(selection.References(), 0u) << "nothing is selected any more";
  }

  // The letters between the host's two items.
  std::string Ours() const {
    const std::string all = Letters(shown_);
    return all.size() < 2 ? "" : all.substr(1, all.size() - 2);
  }

  void CheckAll() const {
    EXPECT_EQ(created_, S_OK);
    EXPECT_EQ(queried_, 6);
    EXPECT_EQ(asked_, S_OK);
    EXPECT_STREQ(help_, L"Sync to this device");
    EXPECT_EQ(Letters(shown_), "?SCRa?");
    for (size_t i = 1; i + 1 < shown_.size(); ++i) EXPECT_NE(shown_[i].bitmap, nullptr) << i;
    CheckHostsItems();
  }

  void CheckCodes(const Struck& struck) const {
    if (struck.Memory()) {
      EXPECT_THAT(created_, AnyOf(S_OK, E_OUTOFMEMORY));
      if (FAILED(created_)) return;
      EXPECT_THAT(queried_, AnyOf(6, E_OUTOFMEMORY));
      EXPECT_THAT(asked_, AnyOf(S_OK, E_OUTOFMEMORY));
      return;
    }
    EXPECT_EQ(created_, S_OK);
    EXPECT_EQ(asked_, S_OK);
    if (struck.Everything()) return;
    EXPECT_EQ(queried_, struck.Only("OpenMutexW") ? E_NOTIMPL : 6);
  }

  // Whatever happens, what others have put into the menu is theirs.
  void CheckHostsItems() const {
    if (FAILED(created_)) return;
    ASSERT_GE(shown_.size(), 2u);
    EXPECT_EQ(shown_.front().text, kHostsFirst);
    EXPECT_EQ(shown_.front().bitmap, nullptr);
    EXPECT_EQ(shown_.back().text, kHostsLast);
    EXPECT_EQ(shown_.back().bitmap, nullptr);
  }

  static bool IsPermitted(std::string_view function, const std::string& menu) {
    if (menu == "SCRa") return true;
    for (const Loss& loss : Losses()) {
      if (function == loss.function) return std::ranges::find(loss.menus, menu) != loss.menus.end();
    }
    return false;
  }

  const bool isFirst_;
  SyncTree tree_;
  FakeAgentMutex service_{AgentKind::kService};
  std::vector<std::wstring> items_;
  UniqueMenu menu_;
  std::vector<ShownItem> shown_;
  HRESULT created_ = S_OK, queried_ = S_OK, asked_ = S_OK;
  wchar_t help_[100] = {};
};

}  // namespace

std::unique_ptr<Scenario> NewRightClick() {
  return std::make_unique<RightClick>(false);
}

std::unique_ptr<Scenario> NewFirstRightClick() {
  return std::make_unique<RightClick>(true);
}

}  // namespace veskard::test
