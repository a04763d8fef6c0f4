#include "tests/shellext/explorercommand/DecisionRows.h"

#include <algorithm>
#include <iterator>

#include "shellext/contextmenu/MenuSelection.h"
#include "util/string/CodePage.h"

namespace veskard::test {
namespace {

using namespace std::string_literals;
using Paths = std::vector<std::wstring>;

// What may lie in a selection, in any combination but none.
struct Content {
  bool folder, waiting, receiving, file;
  const char* removable;     // the menu where everything may be removed from all devices,
  const char* notRemovable;  // where it may not,
  const char* disabled;      // and where nobody may ask for it
};

// clang-format off
constexpr Content kContents[] = {
    // folder waiting receiv  file
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

constexpr char kRemoveAllDisabled[] = "d31:disable_remove_from_all_devicesi1e4:modei1e4:typei2ee";

Paths SelectContent(SyncTree& tree, const Content& content, std::string_view record) {
  tree.MarkRoot(L"root", record);
  Paths paths;
  if (content.folder) paths.push_back(tree.MakeFolder(L"root\\folder"));
  if (content.waiting) paths.push_back(tree.MakePlaceholder(L"root\\waiting.ghpl", kNotReceived));
  if (content.receiving) paths.push_back(tree.MakePlaceholder(L"root\\receiving.ghpl", kReceiving));
  if (content.file) paths.push_back(tree.MakeFile(L"root\\file.txt"));
  return paths;
}

std::string NameOf(const Content& content, const char* folder) {
  return (content.folder ? "Folder"s : ""s) + (content.waiting ? "Waiting" : "") +
         (content.receiving ? "Receiving" : "") + (content.file ? "File" : "") + folder;
}

void AddContents(std::vector<DecisionRow>& rows) {
  for (const Content& content : kContents) {
    const auto add = [&](const char* folder, const char* record, const char* letters) {
      rows.push_back({NameOf(content, folder),
                      [=](SyncTree& tree) { return SelectContent(tree, content, record); }, letters});
    };
    add("WhereAllMayBeRemoved", kSelectiveRemovable, content.removable);
    add("WhereItMayNot", kSelective, content.notRemovable);
    add("WhereNobodyMayAsk", kRemoveAllDisabled, content.disabled);
  }
}

DecisionRow FileIn(std::string name, std::string record, std::string letters) {
  return {std::move(name),
          [=](SyncTree& tree) {
            tree.MarkRoot(L"root", record);
            return Paths{tree.MakeFile(L"root\\file.txt")};
          },
          std::move(letters)};
}

void AddRecords(std::vector<DecisionRow>& rows) {
  const std::string user = Utf8FromWide(CurrentUserName());
  std::string otherCase = user;
  otherCase[0] = static_cast<char>(otherCase[0] ^ 0x20);
  rows.push_back(FileIn("InAFolderThatIsNotSelective", kNotSelective, ""));
  rows.push_back(FileIn("InAFolderOfAnyOtherMode", "d4:modei2ee", "Ra"));
  rows.push_back(FileIn("InAFolderOfTheUsersOwn", SelectiveOwnedBy(user), "RA"));
  rows.push_back(FileIn("InAFolderOfEverybodys", SelectiveOwnedBy(""), "RA"));
  rows.push_back(FileIn("InAnothersFolder", SelectiveOwnedBy(user + "x"), ""));
  rows.push_back(FileIn("InAFolderOfAShorterName", SelectiveOwnedBy(user.substr(1)), ""));
  rows.push_back(FileIn("InAFolderOfTheNameInOtherCase", SelectiveOwnedBy(otherCase), ""));
  rows.push_back(FileIn("InAFolderWithAHostileRecord", "d4:modei1e99999999:", ""));
  rows.push_back(FileIn("InAFolderWithADeepRecord",
                        "d4:modei1e1:x" + std::string(3000, 'l') + std::string(3000, 'e') + "e", "Ra"));
}

DecisionRow PlaceholderWith(std::string name, std::string status, std::string letters) {
  return {std::move(name),
          [=](SyncTree& tree) {
            tree.MarkRoot(L"root", kSelective);
            return Paths{tree.MakePlaceholder(L"root\\a.ghpl", status)};
          },
          std::move(letters)};
}

void AddStatuses(std::vector<DecisionRow>& rows) {
  rows.push_back(PlaceholderWith("StatusZeroIsReceiving", "d10:vlk_statusi0ee", "Ca"));
  rows.push_back(PlaceholderWith("StatusBeyondAHundredIsReceiving", "d10:vlk_statusi250ee", "Ca"));
  rows.push_back(PlaceholderWith("StatusOfAnotherKindIsReceiving", "d10:vlk_status2:47e", "Ca"));
  rows.push_back(PlaceholderWith("StatusMinusOneIsWaiting", "d10:vlk_statusi4294967295ee", "Sa"));
  rows.push_back(PlaceholderWith("StatusThatRoundsBelowZeroIsWaiting", "d10:vlk_statusi2147483650ee", "Sa"));
  rows.push_back({"ProgressStream",
                  [](SyncTree& tree) {
                    tree.MarkRoot(L"root", kSelective);
                    tree.WriteStream(L"root\\a.ghpl", L"VLKDOWN", "\x32\0\0\0\0\0\0\0"s);
                    return Paths{tree.Path(L"root\\a.ghpl")};
                  },
                  "Ca"});
  rows.push_back({"PlaceholderInCapitals",
                  [](SyncTree& tree) {
                    tree.MarkRoot(L"root", kSelective);
                    return Paths{tree.MakePlaceholder(L"root\\A.GHPL", kReceiving)};
                  },
                  "Ca"});
  rows.push_back({"FolderNamedLikeAPlaceholder",
                  [](SyncTree& tree) {
                    tree.MarkRoot(L"root", kSelectiveRemovable);
                    return Paths{tree.MakeFolder(L"root\\a.ghpl")};
                  },
                  "SRA"});
}

void AddPlaces(std::vector<DecisionRow>& rows) {
  rows.push_back({"OutsideEveryFolder", [](SyncTree& tree) { return Paths{tree.MakeFile(L"a.txt")}; }, ""});
  rows.push_back({"InAFolderWithoutARecord",
                  [](SyncTree& tree) {
                    tree.MarkRoot(L"root");
                    return Paths{tree.MakeFile(L"root\\a.txt")};
                  },
                  ""});
  rows.push_back({"TheFirstInsideAndTheSecondOutside",
                  [](SyncTree& tree) {
                    tree.MarkRoot(L"root", kSelectiveRemovable);
                    return Paths{tree.MakePlaceholder(L"root\\a.ghpl", kNotReceived),
                                 tree.MakeFile(L"elsewhere\\b.txt")};
                  },
                  "SRA"});
  rows.push_back({"TheFirstOutsideAndTheSecondInside",
                  [](SyncTree& tree) {
                    tree.MarkRoot(L"root", kSelectiveRemovable);
                    return Paths{tree.MakeFile(L"elsewhere\\b.txt"), tree.MakeFile(L"root\\a.txt")};
                  },
                  ""});
  rows.push_back({"InANestedFolder",
                  [](SyncTree& tree) {
                    tree.MarkRoot(L"outer", kSelective);
                    tree.MarkRoot(L"outer\\inner", kSelectiveRemovable);
                    return Paths{tree.MakeFile(L"outer\\inner\\a.txt")};
                  },
                  "Ra"});
  rows.push_back({"TheRootOfANestedFolder",
                  [](SyncTree& tree) {
                    tree.MarkRoot(L"outer", kSelective);
                    return Paths{tree.MarkRoot(L"outer\\inner", kSelectiveRemovable)};
                  },
                  "SRA"});
  rows.push_back(
      {"TheRootItself", [](SyncTree& tree) { return Paths{tree.MarkRoot(L"root", kSelective)}; }, "SRa"});
  rows.push_back({"TheAgentsOwnMetadata",
                  [](SyncTree& tree) {
                    tree.MarkRoot(L"root", kSelective);
                    return Paths{tree.Path(L"root\\.sync")};
                  },
                  ""});
  rows.push_back({"AFolderNamedSyncInOtherCase",
                  [](SyncTree& tree) {
                    tree.MarkRoot(L"root", kSelective);
                    return Paths{tree.MakeFile(L"root\\a\\.Sync\\b.txt")};
                  },
                  "Ra"});
  rows.push_back({"AShortcutCountsAsItself",
                  [](SyncTree& tree) {
                    tree.MarkRoot(L"root", kSelectiveRemovable);
                    return Paths{tree.MakeFile(L"root\\a.lnk")};
                  },
                  "RA"});
  rows.push_back({"ANameOf259Characters",
                  [](SyncTree& tree) {
                    tree.MarkRoot(L"root", kSelective);
                    const size_t length = 259 - tree.Path(L"root\\").size();
                    return Paths{tree.MakeFile(L"root\\" + std::wstring(length, L'x'))};
                  },
                  "Ra"});
}

void AddGoneItems(std::vector<DecisionRow>& rows) {
  rows.push_back({"TheFirstIsGoneAndStillDecides",
                  [](SyncTree& tree) {
                    tree.MarkRoot(L"root", kSelectiveRemovable);
                    return Paths{tree.Path(L"root\\gone.txt"), tree.MakeFile(L"root\\b.txt")};
                  },
                  "", false});
  rows.push_back(
      {"ALaterOneThatIsGoneIsSkipped",
       [](SyncTree& tree) {
         tree.MarkRoot(L"root", kSelectiveRemovable);
         return Paths{tree.MakePlaceholder(L"root\\a.ghpl", kNotReceived), tree.Path(L"root\\gone.txt")};
       },
       "SA", false});
  rows.push_back({"NothingAtAll", [](SyncTree&) { return Paths{}; }, "", false});
}

}  // namespace

std::vector<DecisionRow> DecisionRows() {
  std::vector<DecisionRow> rows;
  AddContents(rows);
  AddRecords(rows);
  AddStatuses(rows);
  AddPlaces(rows);
  AddGoneItems(rows);
  return rows;
}

std::vector<DecisionRow> DecisionRowsOnDisk() {
  std::vector<DecisionRow> rows;
  std::ranges::copy_if(DecisionRows(), std::back_inserter(rows), &DecisionRow::isOnDisk);
  return rows;
}

}  // namespace veskard::test
