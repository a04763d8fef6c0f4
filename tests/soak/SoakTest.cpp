// Thousands of right-clicks and icons of the built library in one process. At the end the
// process holds what it held at the start.
#include <windows.h>

#include <cstdlib>
#include <iostream>
#include <string>

#include "shellext/ClassIds.h"
#include "tests/shellext/contextmenu/LibraryMenu.h"
#include "tests/support/ProcessResources.h"
#include "tests/support/TestIcons.h"

namespace veskard::test {
namespace {

constexpr int kWarmUp = 100;

// How many right-clicks and how many extractions.
int Rounds() {
  const char* const asked = std::getenv("VESKARD_SOAK");
  return asked != nullptr && *asked != '\0' ? std::atoi(asked) : 500;
}

ptrdiff_t PrivateKilobytes() {
  return static_cast<ptrdiff_t>(PrivateBytes() / 1024);
}

// A Markdown table, which scripts/soak.sh picks out.
void PrintHeading() {
  std::cout
      << "| | heap blocks | bytes in them | kernel handles | drawing objects | TLS indices | private KB |\n"
         "|---|---|---|---|---|---|---|"
      << std::endl;
}

void Print(const std::string& when, const ProcessResources& resources) {
  std::cout << "| " << when << " | " << resources.heapBlocks << " | " << resources.heapBytes << " | "
            << resources.handles << " | " << resources.gdiObjects << " | " << resources.tlsIndices << " | "
            << PrivateKilobytes() << " |" << std::endl;
}

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
    // The log is on for one block of rounds in twenty: it waits for the disk.
    if (number % 50 == 0) SetLogSwitch(number / 50 % 20 == 0 ? 1 : 0);
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
  const int rounds = Rounds();
  for (int i = 0; i < kWarmUp; ++i) Round(i);
  const ProcessResources before = CountProcessResources();
  const ptrdiff_t memoryBefore = PrivateKilobytes();
  PrintHeading();
  Print("at the start", before);

  for (int i = 0; i < rounds && !HasFailure(); ++i) {
    Round(i);
    if (i > 0 && i % 10'000 == 0) Print("after " + std::to_string(i), CountProcessResources());
  }

  const ProcessResources after = CountProcessResources();
  Print("at the end", after);
  EXPECT_EQ(after.handles, before.handles);
  EXPECT_EQ(after.gdiObjects, before.gdiObjects);
  EXPECT_EQ(after.tlsIndices, before.tlsIndices);
  // The system's own caches grow and shrink a little. Among a hundred thousand rounds a block
  // that is lost in one of eight hundred shows, in a short soak one in twenty.
  EXPECT_LT(after.heapBlocks, before.heapBlocks + 20 + static_cast<size_t>(rounds) / 1000);
  EXPECT_LT(after.heapBytes, before.heapBytes + 32 * 1024 + static_cast<size_t>(rounds));
  const ptrdiff_t memoryAfter = PrivateKilobytes();
  // Ten bytes a round, and room for what the system keeps for itself.
  EXPECT_LT(memoryAfter, memoryBefore + 1024 + rounds / 100);
}

}  // namespace
}  // namespace veskard::test
