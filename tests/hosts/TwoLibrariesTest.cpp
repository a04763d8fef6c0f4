// Two versions of the library in one process, as after an update while Explorer runs.
#include <algorithm>
#include <memory>

#include "tests/shellext/contextmenu/LibraryMenu.h"
#include "tests/support/RegistrySnapshot.h"

namespace veskard::test {
namespace {

class TwoLibrariesTest : public LibraryMenuTest {
 protected:
  TwoLibrariesTest() {
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

  static bool Serves(const ExtensionLibrary& library, const GUID& classId) {
    UniqueCom<IClassFactory> factory;
    const HRESULT result =
        library.DllGetClassObject(classId, IID_IClassFactory, reinterpret_cast<void**>(factory.Out()));
    EXPECT_EQ(result, factory ? S_OK : CLASS_E_CLASSNOTAVAILABLE);
    return result == S_OK;
  }

  // The entries that carry a version. The icon handler's key does not: whichever
  // version registers last has it.
  static RegistrySnapshot OwnEntries() {
    RegistrySnapshot entries = TakeRegistrySnapshot(HKEY_LOCAL_MACHINE);
    std::erase_if(entries, [](const auto& entry) {
      return entry.first.find(L"-CC05-") == std::wstring::npos &&
             entry.first.find(L" Service ") == std::wstring::npos;
    });
    return entries;
  }

  std::unique_ptr<ExtensionLibrary> other_ =
      std::make_unique<ExtensionLibrary>(OlderLibraryPath(), &OlderClassId);
  std::wstring item_;
};

TEST_F(TwoLibrariesTest, EachServesTheClassesOfItsOwnVersionOnly) {
  for (const unsigned index : {0u, 1u, 5u, 6u}) {
    EXPECT_TRUE(Serves(library_, ClassId(index)));
    EXPECT_FALSE(Serves(library_, OlderClassId(index)));
    EXPECT_TRUE(Serves(*other_, OlderClassId(index)));
    EXPECT_FALSE(Serves(*other_, ClassId(index)));
  }
}

TEST_F(TwoLibrariesTest, EachRegistersBesideTheOtherAndTakesBackItsOwn) {
  ASSERT_EQ(library_.DllInstall(TRUE, L"S"), S_OK);
  const RegistrySnapshot ours = OwnEntries();
  ASSERT_EQ(other_->DllInstall(TRUE, L"S"), S_OK);
  const RegistrySnapshot both = OwnEntries();
  EXPECT_EQ(both.size(), 2 * ours.size());
  EXPECT_TRUE(std::ranges::includes(both, ours));
  ASSERT_EQ(other_->DllInstall(FALSE, L"S"), S_OK);
  EXPECT_EQ(OwnEntries(), ours);
}

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
  EXPECT_EQ(::GetModuleHandleW(L"older_library.dll"), nullptr);
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
