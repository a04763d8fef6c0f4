// Two versions of the library in one process, as after an update that Explorer has
// not been told of.
#include <filesystem>

#include "tests/shellext/contextmenu/LibraryMenu.h"
#include "tests/support/FileTools.h"

namespace veskard::test {
namespace {

// The built library as another version: the same code, with other words in its
// version resource.
void WriteAnotherVersion(const std::wstring& path) {
  constexpr std::wstring_view kOurs = L"2.7.2", kTheirs = L"2.7.1";
  std::string bytes = ReadBytes(ExtensionLibraryPath());
  const auto raw = [](std::wstring_view text) {
    return std::string_view(reinterpret_cast<const char*>(text.data()), text.size() * sizeof(wchar_t));
  };
  size_t found = 0;
  for (size_t at = bytes.find(raw(kOurs)); at != std::string::npos; at = bytes.find(raw(kOurs), at + 1)) {
    bytes.replace(at, raw(kTheirs).size(), raw(kTheirs));
    ++found;
  }
  ASSERT_GT(found, 0u);
  WriteBytes(path, bytes);
}

class TwoLibrariesTest : public LibraryMenuTest {
 protected:
  TwoLibrariesTest() {
    WriteAnotherVersion(otherPath_);
    other_ = std::make_unique<ExtensionLibrary>(otherPath_);
    tree_.MarkRoot(L"root", kSelective);
    item_ = tree_.MakeFile(L"root\\a.txt");
  }

  std::string MenuOf(const ExtensionLibrary& library) const {
    const MenuHandler handler(library);
    FakeDataObject selection({item_});
    handler.Select(&selection);
    const UniqueMenu menu(::CreatePopupMenu());
    EXPECT_EQ(handler.Query(menu.Get()), 6);
    handler.Select(nullptr);
    return Letters(ItemsOf(menu.Get()));
  }

  ScratchFolder folder_;
  const std::wstring otherPath_ = folder_ / L"VeskardShellExt_old.dll";
  std::unique_ptr<ExtensionLibrary> other_;
  std::wstring item_;
};

TEST_F(TwoLibrariesTest, EachMakesItsOwnMenus) {
  ASSERT_NE(library_.Module(), other_->Module());
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(MenuOf(library_), "Ra");
    EXPECT_EQ(MenuOf(*other_), "Ra");
  }
}

TEST_F(TwoLibrariesTest, HandlersOfBothLiveTogetherAndEitherMayGoFirst) {
  const MenuHandler ours(library_);
  {
    const MenuHandler theirs(*other_);
    const UniqueMenu menu(::CreatePopupMenu());
    FakeDataObject selection({item_});
    theirs.Select(&selection);
    EXPECT_EQ(theirs.Query(menu.Get()), 6);
    theirs.Select(nullptr);
  }
  // Theirs has stopped its use of GDI+, ours goes on drawing.
  EXPECT_EQ(MenuOf(library_), "Ra");
}

TEST_F(TwoLibrariesTest, CommandsOfBothReachTheAgent) {
  FakeAgent agent(AgentKind::kService);
  const MenuHandler ours(library_), theirs(*other_);
  EXPECT_EQ(ours.Invoke(1), S_OK);
  EXPECT_EQ(theirs.Invoke(1), S_OK);
  for (int i = 0; i < 2; ++i) EXPECT_EQ(agent.NextBatch(), PipeMessages{"d6:actioni7e5:filesle4:lasti1ee"});
}

TEST_F(TwoLibrariesTest, WhenOneIsUnloadedTheOtherGoesOn) {
  EXPECT_EQ(MenuOf(*other_), "Ra");
  EXPECT_EQ(MenuOf(library_), "Ra");
  other_.reset();
  EXPECT_EQ(::GetModuleHandleW(L"VeskardShellExt_old.dll"), nullptr);
  EXPECT_EQ(MenuOf(library_), "Ra");
}

TEST_F(TwoLibrariesTest, BothWriteTheOneLogAndEachClosesItsOwn) {
  MenuOf(library_);
  MenuOf(*other_);
  other_.reset();
  const std::vector<std::wstring> lines = log_.NewLines();
  EXPECT_EQ(std::ranges::count(lines, L"=== start ==="), 2);
  EXPECT_EQ(std::ranges::count(lines, L"==== end ===="), 1);
  EXPECT_EQ(std::ranges::count(lines, L"Called context menu"), 2);
  MenuOf(library_);
  EXPECT_EQ(std::ranges::count(log_.NewLines(), L"Called context menu"), 1);
}

}  // namespace
}  // namespace veskard::test
