#include "shellext/contextmenu/MenuDecision.h"

#include <gtest/gtest.h>

#include <string>

namespace veskard {
namespace {

// One letter for each item from top to bottom; a small one is greyed.
std::string Letters(const MenuSelection& selection) {
  std::string letters;
  for (const MenuItem& item : DecideMenuItems(selection)) {
    const char letter = " HSCRA"[static_cast<size_t>(item.command)];
    letters += item.greyed ? static_cast<char>(letter | 0x20) : letter;
  }
  return letters;
}

MenuSelection InFolder() {
  MenuSelection selection;
  selection.inSyncFolder = selection.isSelective = selection.isOwner = true;
  return selection;
}

struct Row {
  bool anyDirectory, needsDownload, receiving, hasLocalFile;
  const char* removable;     // the items where everything may be removed everywhere,
  const char* notRemovable;  // where it may not,
  const char* disabled;      // and where the folder forbids it
};

// S sync to this device, C cancel receiving, R remove from this device, A remove
// from all devices. Every combination of what a selection holds.
// clang-format off
constexpr Row kRows[] = {
    // dir   needs  receiv local
    {false, false, false, false,  "A",    "a",    ""},
    {false, false, false, true,   "RA",   "Ra",   "R"},
    {false, false, true,  false,  "Ca",   "Ca",   "C"},
    {false, false, true,  true,   "CRa",  "CRa",  "CR"},
    {false, true,  false, false,  "SA",   "Sa",   "S"},
    {false, true,  false, true,   "SRA",  "SRa",  "SR"},
    {false, true,  true,  false,  "SCa",  "SCa",  "SC"},
    {false, true,  true,  true,   "SCRa", "SCRa", "SCR"},
    {true,  false, false, false,  "SRA",  "SRa",  "SR"},
    {true,  false, false, true,   "SRA",  "SRa",  "SR"},
    {true,  false, true,  false,  "SCRa", "SCRa", "SCR"},
    {true,  false, true,  true,   "SCRa", "SCRa", "SCR"},
    {true,  true,  false, false,  "SRA",  "SRa",  "SR"},
    {true,  true,  false, true,   "SRA",  "SRa",  "SR"},
    {true,  true,  true,  false,  "SCRa", "SCRa", "SCR"},
    {true,  true,  true,  true,   "SCRa", "SCRa", "SCR"},
};
// clang-format on

MenuSelection SelectionOf(const Row& row) {
  MenuSelection selection = InFolder();
  selection.anyDirectory = row.anyDirectory;
  selection.needsDownload = row.needsDownload;
  selection.receiving = row.receiving;
  selection.hasLocalFile = row.hasLocalFile;
  return selection;
}

TEST(MenuDecisionTest, EveryCombinationGetsItsItems) {
  for (const Row& row : kRows) {
    MenuSelection selection = SelectionOf(row);
    EXPECT_EQ(Letters(selection), row.notRemovable);
    selection.removableEverywhere = true;
    EXPECT_EQ(Letters(selection), row.removable);
    selection.removeAllDisabled = true;
    EXPECT_EQ(Letters(selection), row.disabled);
    selection.removableEverywhere = false;
    EXPECT_EQ(Letters(selection), row.disabled);
  }
}

TEST(MenuDecisionTest, OutsideASelectiveFolderOfTheUsersOwnThereAreNone) {
  for (int bits = 0; bits < 7; ++bits) {
    MenuSelection selection = InFolder();
    selection.anyDirectory = selection.needsDownload = selection.receiving = selection.hasLocalFile = true;
    selection.inSyncFolder = (bits & 1) != 0;
    selection.isSelective = (bits & 2) != 0;
    selection.isOwner = (bits & 4) != 0;
    EXPECT_EQ(Letters(selection), "") << bits;
  }
}

}  // namespace
}  // namespace veskard
