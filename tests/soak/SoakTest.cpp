// Thousands of right-clicks and icons of the built library in one process.
#include <string>

#include "shellext/ClassIds.h"
#include "tests/shellext/contextmenu/LibraryMenu.h"
#include "tests/soak/Soak.h"
#include "tests/support/TestIcons.h"

namespace veskard::test {
namespace {

class SoakTest : public LibraryMenuTest {
 protected:
  SoakTest() {
    tree_.MarkRoot(L"root", kSelective);
    selection_ = {tree_.MakeFolder(L"root\\a"), tree_.MakePlaceholder(L"root\\b.ghpl", kNotReceived),
                  tree_.MakeFile(L"root\\c.txt")};
    for (int progress = 0; progress <= 100; progress += 5) {
      icons_.push_back(tree_.MakePlaceholder(L"root\\" + std::to_wstring(progress) + L".txt.ghpl",
                                             "d10:vlk_statusi" + std::to_string(progress) + "ee"));
    }
  }

  void Round(int number) {
    SwitchLogFor(number);
    ASSERT_EQ(MenuFor(selection_), "SRa");
    Extract(icons_[static_cast<size_t>(number) % icons_.size()]);
  }

  // One handler for each file, as Explorer has it: nothing comes from the cache.
  void Extract(const std::wstring& file) const {
    UniqueCom<IPersistFile> handler;
    UniqueCom<IExtractIconW> icons;
    ASSERT_EQ(library_.Create(kFileIconClass, IID_IPersistFile, handler), S_OK);
    ASSERT_EQ(handler.Get()->QueryInterface(IID_IExtractIconW, reinterpret_cast<void**>(icons.Out())), S_OK);
    ASSERT_EQ(handler.Get()->Load(file.c_str(), STGM_READ), S_OK);
    UniqueIcon large, small;
    ASSERT_EQ(icons.Get()->Extract(nullptr, 0, large.Out(), small.Out(), kTwoSizes), S_OK);
    ASSERT_TRUE(large && small);
  }

  std::vector<std::wstring> selection_;
  std::vector<std::wstring> icons_;
};

TEST_F(SoakTest, NothingIsLeftOfAnyRightClickOrIcon) {
  ExpectFlat("right-clicks and icons", [this](int number) { Round(number); });
}

}  // namespace
}  // namespace veskard::test
