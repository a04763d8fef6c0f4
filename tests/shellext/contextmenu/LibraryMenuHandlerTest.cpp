// The handler's interfaces, the menu that it fills and what it writes to the log.
#include <algorithm>

#include "core/WindowsOwners.h"
#include "tests/shellext/contextmenu/LibraryMenu.h"
#include "tests/support/ImportPatch.h"

namespace veskard::test {
namespace {

class MenuHandlerTest : public LibraryMenuTest {
 protected:
  // A folder inside a folder whose content may be removed everywhere: three items.
  std::wstring MakeFolderWithMenu() {
    tree_.MarkRoot(L"root", kSelectiveRemovable);
    return tree_.MakeFolder(L"root\\a");
  }

  UniqueMenu menu_{::CreatePopupMenu()};
};

// --- IUnknown ---

TEST_F(MenuHandlerTest, IUnknownIsTheIShellExtInitFace) {
  const MenuHandler handler(library_);
  UniqueCom<IUnknown> unknown;
  ASSERT_EQ(handler.Menu()->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(unknown.Out())), S_OK);
  EXPECT_EQ(static_cast<void*>(unknown.Get()), static_cast<void*>(handler.Init()));
  EXPECT_NE(static_cast<void*>(unknown.Get()), static_cast<void*>(handler.Menu()));
}

TEST_F(MenuHandlerTest, EitherFaceAnswersTheOther) {
  const MenuHandler handler(library_);
  UniqueCom<IContextMenu> menu;
  EXPECT_EQ(handler.Init()->QueryInterface(IID_IContextMenu, reinterpret_cast<void**>(menu.Out())), S_OK);
  EXPECT_EQ(menu.Get(), handler.Menu());
  UniqueCom<IShellExtInit> init;
  EXPECT_EQ(handler.Menu()->QueryInterface(IID_IShellExtInit, reinterpret_cast<void**>(init.Out())), S_OK);
  EXPECT_EQ(init.Get(), handler.Init());
}

TEST_F(MenuHandlerTest, AnyOtherInterfaceIsRefusedWithANullPointer) {
  const MenuHandler handler(library_);
  for (const IID& iid : {IID_IContextMenu2, IID_IContextMenu3, IID_IPersistFile, IID_IDataObject}) {
    void* answer = this;
    EXPECT_EQ(handler.Menu()->QueryInterface(iid, &answer), E_NOINTERFACE);
    EXPECT_EQ(answer, nullptr);
  }
}

TEST_F(MenuHandlerTest, ReferencesAreCounted) {
  const MenuHandler handler(library_);  // holds two, one for each face
  EXPECT_EQ(handler.Menu()->AddRef(), 3u);
  EXPECT_EQ(handler.Init()->AddRef(), 4u);
  EXPECT_EQ(handler.Menu()->Release(), 3u);
  EXPECT_EQ(handler.Init()->Release(), 2u);
}

TEST_F(MenuHandlerTest, BothIdentifiersMakeTheSameClass) {
  tree_.MarkRoot(L"root", kSelective);
  FakeDataObject selection({tree_.MakeFile(L"root\\a.txt")});
  const MenuHandler handler(library_, 0);
  handler.Select(&selection);
  EXPECT_EQ(handler.Query(menu_.Get()), 6);
  EXPECT_EQ(Letters(ItemsOf(menu_.Get())), "Ra");
}

// --- IShellExtInit ---

TEST_F(MenuHandlerTest, TheSelectionIsHeldUntilTheNextOne) {
  FakeDataObject first({});
  FakeDataObject second({});
  {
    const MenuHandler handler(library_);
    EXPECT_EQ(handler.Select(&first), S_OK);
    EXPECT_EQ(first.References(), 1u);
    EXPECT_EQ(handler.Select(&second), S_OK);
    EXPECT_EQ(first.References(), 0u);
    EXPECT_EQ(second.References(), 1u);
    EXPECT_EQ(handler.Select(&second), S_OK);
    EXPECT_EQ(second.References(), 1u);
  }
  EXPECT_EQ(second.References(), 0u);
}

TEST_F(MenuHandlerTest, NoSelectionClearsTheOneBefore) {
  FakeDataObject selection({});
  const MenuHandler handler(library_);
  handler.Select(&selection);
  EXPECT_EQ(handler.Select(nullptr), S_OK);
  EXPECT_EQ(selection.References(), 0u);
}

// --- The menu ---

TEST_F(MenuHandlerTest, ItemsHaveTheTextsOfTheirCommandsAndTheIdsOfTheirOffsets) {
  tree_.MarkRoot(L"root", kSelective);
  FakeDataObject selection(
      {tree_.MakeFolder(L"root\\a"), tree_.MakePlaceholder(L"root\\b.ghpl", kReceiving)});
  const MenuHandler handler(library_);
  handler.Select(&selection);
  ASSERT_EQ(handler.Query(menu_.Get()), 6);
  const std::vector<ShownItem> items = ItemsOf(menu_.Get());
  ASSERT_EQ(items.size(), 4u);
  const struct {
    const wchar_t* text;
    UINT offset;
    bool greyed;
  } expected[] = {{L"Sync to this device", 2, false},
                  {L"Cancel receiving", 3, false},
                  {L"Remove from this device", 4, false},
                  {L"Remove from all devices", 5, true}};
  for (size_t i = 0; i < items.size(); ++i) {
    EXPECT_EQ(items[i].text, expected[i].text);
    EXPECT_EQ(items[i].id, kFirstId + expected[i].offset);
    EXPECT_EQ(items[i].greyed, expected[i].greyed);
  }
}

TEST_F(MenuHandlerTest, ItemsStandInOrderAtThePositionAskedFor) {
  FakeDataObject selection({MakeFolderWithMenu()});
  ::AppendMenuW(menu_.Get(), MF_STRING, 1, L"before");
  ::AppendMenuW(menu_.Get(), MF_STRING, 2, L"after");
  const MenuHandler handler(library_);
  handler.Select(&selection);
  ASSERT_EQ(handler.Query(menu_.Get(), 1), 6);
  const std::vector<ShownItem> items = ItemsOf(menu_.Get());
  ASSERT_EQ(items.size(), 5u);
  EXPECT_EQ(items[0].text, L"before");
  EXPECT_EQ(Letters({items.begin() + 1, items.end() - 1}), "SRA");
  EXPECT_EQ(items[4].text, L"after");
}

TEST_F(MenuHandlerTest, NoSeparatorsAreAdded) {
  FakeDataObject selection({MakeFolderWithMenu()});
  const MenuHandler handler(library_);
  handler.Select(&selection);
  handler.Query(menu_.Get());
  for (const ShownItem& item : ItemsOf(menu_.Get())) EXPECT_FALSE(item.separator);
}

TEST_F(MenuHandlerTest, TheHighestIdIsNotConsulted) {
  FakeDataObject selection({MakeFolderWithMenu()});
  const MenuHandler handler(library_);
  handler.Select(&selection);
  EXPECT_EQ(handler.Menu()->QueryContextMenu(menu_.Get(), 0, kFirstId, kFirstId, CMF_NORMAL), 6);
  EXPECT_EQ(Letters(ItemsOf(menu_.Get())), "SRA");
}

SIZE SizeOf(HBITMAP bitmap) {
  BITMAP shape = {};
  EXPECT_NE(::GetObjectW(bitmap, sizeof(shape), &shape), 0);
  return {shape.bmWidth, shape.bmHeight};
}

int checkMarkSize = 0;
int WINAPI AnswerCheckMarkSize(int metric) {
  return metric == SM_CXMENUCHECK ? checkMarkSize : checkMarkSize + 2;
}

TEST_F(MenuHandlerTest, ANewSizeOfCheckMarksIsThatOfTheNextMenusBitmaps) {
  FakeDataObject selection({MakeFolderWithMenu()});
  const FunctionPatch metrics(library_.Module(), "GetSystemMetrics", &AnswerCheckMarkSize);
  std::vector<UniqueMenu> menus;
  const MenuHandler first(library_), second(library_);
  first.Select(&selection);
  second.Select(&selection);
  for (const int size : {16, 20, 16, 31}) {
    checkMarkSize = size;
    for (const MenuHandler* handler : {&first, &second}) {
      menus.emplace_back(::CreatePopupMenu());
      handler->Query(menus.back().Get());
      const std::vector<ShownItem> items = ItemsOf(menus.back().Get());
      ASSERT_FALSE(items.empty());
      for (const ShownItem& item : items) {
        EXPECT_EQ(SizeOf(item.bitmap).cx, size);
        EXPECT_EQ(SizeOf(item.bitmap).cy, size + 2);
      }
    }
  }
  for (const ShownItem& item : ItemsOf(menus.front().Get()))
    EXPECT_EQ(SizeOf(item.bitmap).cx, 16) << "the first menu may still be shown";
}

TEST_F(MenuHandlerTest, HandlersHaveBitmapsOfTheirOwn) {
  FakeDataObject selection({MakeFolderWithMenu()});
  const UniqueMenu otherMenu(::CreatePopupMenu());
  const MenuHandler first(library_);
  first.Select(&selection);
  first.Query(menu_.Get());
  {
    const MenuHandler other(library_);
    other.Select(&selection);
    other.Query(otherMenu.Get());
    EXPECT_NE(ItemsOf(menu_.Get())[0].bitmap, ItemsOf(otherMenu.Get())[0].bitmap);
  }
  for (const ShownItem& item : ItemsOf(menu_.Get()))
    EXPECT_EQ(::GetObjectType(item.bitmap), static_cast<DWORD>(OBJ_BITMAP)) << "the other's are gone";
}

TEST_F(MenuHandlerTest, ItemsShowTheirBitmapsWhereCheckMarksStand) {
  tree_.MarkRoot(L"root", kSelective);
  FakeDataObject selection(
      {tree_.MakeFolder(L"root\\a"), tree_.MakePlaceholder(L"root\\b.ghpl", kReceiving)});
  const MenuHandler handler(library_);
  handler.Select(&selection);
  handler.Query(menu_.Get());
  const std::vector<ShownItem> items = ItemsOf(menu_.Get());
  ASSERT_EQ(items.size(), 4u);
  for (const ShownItem& item : items) EXPECT_EQ(::GetObjectType(item.bitmap), static_cast<DWORD>(OBJ_BITMAP));
  EXPECT_EQ(items[0].bitmap, items[1].bitmap) << "cancelling shares the picture of syncing";
  EXPECT_NE(items[0].bitmap, items[2].bitmap);
  EXPECT_NE(items[2].bitmap, items[3].bitmap);

  MENUINFO info = {};
  info.cbSize = sizeof(info);
  info.fMask = MIM_STYLE;
  ASSERT_TRUE(::GetMenuInfo(menu_.Get(), &info));
  EXPECT_EQ(info.dwStyle, static_cast<DWORD>(MNS_CHECKORBMP));
}

TEST_F(MenuHandlerTest, TheSameHandlerFillsOneMenuAfterAnother) {
  FakeDataObject selection({MakeFolderWithMenu()});
  const MenuHandler handler(library_);
  handler.Select(&selection);
  for (int i = 0; i < 3; ++i) {
    const UniqueMenu menu(::CreatePopupMenu());
    EXPECT_EQ(handler.Query(menu.Get()), 6);
    EXPECT_EQ(Letters(ItemsOf(menu.Get())), "SRA");
  }
}

// --- The log ---

using Lines = std::vector<std::wstring>;

TEST_F(MenuHandlerTest, EachItemAddedHasItsLine) {
  tree_.MarkRoot(L"root", kSelective);
  FakeDataObject selection(
      {tree_.MakeFolder(L"root\\a"), tree_.MakePlaceholder(L"root\\b.ghpl", kReceiving)});
  const MenuHandler handler(library_);
  handler.Select(&selection);
  log_.NewLines();
  handler.Query(menu_.Get());
  EXPECT_EQ(log_.NewLines(),
            (Lines{L"Called context menu", L"Added menu item - download",
                   L"Added menu item - cancel downloading", L"Added menu item - remove from this",
                   L"Added menu item - remove from all", L"End of menu handler"}));
}

TEST_F(MenuHandlerTest, AMenuWithoutItemsSaysWhy) {
  tree_.MarkRoot(L"whole", kNotSelective);
  tree_.MarkRoot(L"others", SelectiveOwnedBy("nobody we know"));
  const struct {
    std::wstring item;
    const wchar_t* line;
  } rows[] = {
      {tree_.MakeFile(L"a.txt"), L"Selective Sync: inSyncFolder(0) isSelectiveFolder(0) isOwner(1)"},
      {tree_.MakeFile(L"whole\\a.txt"), L"Selective Sync: inSyncFolder(1) isSelectiveFolder(0) isOwner(1)"},
      {tree_.MakeFile(L"others\\a.txt"), L"Selective Sync: inSyncFolder(1) isSelectiveFolder(1) isOwner(0)"},
  };
  for (const auto& row : rows) {
    FakeDataObject selection({row.item});
    const MenuHandler handler(library_);
    handler.Select(&selection);
    log_.NewLines();
    EXPECT_EQ(handler.Query(menu_.Get()), 6);
    EXPECT_EQ(log_.NewLines(), (Lines{L"Called context menu", row.line, L"End of menu handler"}));
    EXPECT_EQ(::GetMenuItemCount(menu_.Get()), 0);
    handler.Select(nullptr);
  }
}

// --- Refusals ---

class MenuRefusalTest : public MenuHandlerTest {
 protected:
  // Asks for a menu that is refused; returns what the log says about it.
  Lines LinesOfRefusal(const MenuHandler& handler, UINT flags = CMF_NORMAL) {
    log_.NewLines();
    EXPECT_EQ(handler.Query(menu_.Get(), 0, flags), E_NOTIMPL);
    EXPECT_EQ(::GetMenuItemCount(menu_.Get()), 0);
    return log_.NewLines();
  }
};

TEST_F(MenuRefusalTest, AShortcutsTargetGetsNoMenu) {
  FakeDataObject selection({MakeFolderWithMenu()});
  const MenuHandler handler(library_);
  handler.Select(&selection);
  EXPECT_EQ(LinesOfRefusal(handler, CMF_VERBSONLY), (Lines{L"Called context menu", L"Skip shortcut target"}));
  EXPECT_EQ(LinesOfRefusal(handler, CMF_VERBSONLY | CMF_EXPLORE),
            (Lines{L"Called context menu", L"Skip shortcut target"}));
  EXPECT_EQ(selection.ListsGiven(), 0);
}

TEST_F(MenuRefusalTest, ASelectionThatCannotBeReadIsToldWithItsError) {
  FakeDataObject selection({});
  selection.AnswerWith(DV_E_FORMATETC, {});
  const MenuHandler handler(library_);
  handler.Select(&selection);
  EXPECT_EQ(LinesOfRefusal(handler),
            (Lines{L"Called context menu", L"Context menu: GetData failed (80040064); mh : 0"}));
}

TEST_F(MenuRefusalTest, AHandleThatCameWithTheErrorIsMentioned) {
  FakeDataObject selection({});
  const DropListForTest list({});
  STGMEDIUM medium = {};
  medium.tymed = TYMED_HGLOBAL;
  medium.hGlobal = list.Get();
  selection.AnswerWith(E_FAIL, medium);
  const MenuHandler handler(library_);
  handler.Select(&selection);
  EXPECT_EQ(LinesOfRefusal(handler),
            (Lines{L"Called context menu", L"Context menu: GetData failed (80004005); mh : 1"}));
}

TEST_F(MenuRefusalTest, ASuccessWithoutAHandleIsAFailure) {
  FakeDataObject selection({});
  STGMEDIUM medium = {};
  medium.tymed = TYMED_HGLOBAL;
  selection.AnswerWith(S_OK, medium);
  const MenuHandler handler(library_);
  handler.Select(&selection);
  EXPECT_EQ(LinesOfRefusal(handler),
            (Lines{L"Called context menu", L"Context menu: GetData failed (0); mh : 0"}));
}

TEST_F(MenuRefusalTest, AMediumThatIsNoMemoryIsNotReadAsAList) {
  FakeDataObject selection({});
  STGMEDIUM medium = {};
  medium.tymed = TYMED_FILE;
  medium.lpszFileName = static_cast<wchar_t*>(::CoTaskMemAlloc(8));
  medium.lpszFileName[0] = L'\0';
  selection.AnswerWith(S_OK, medium);
  {
    const MenuHandler handler(library_);
    handler.Select(&selection);
    EXPECT_EQ(LinesOfRefusal(handler),
              (Lines{L"Called context menu", L"Context menu: memory handle is NULL"}));
  }
}

TEST_F(MenuRefusalTest, WithoutASelectionItIsAsIfReadingHadFailed) {
  const MenuHandler handler(library_);
  EXPECT_EQ(LinesOfRefusal(handler),
            (Lines{L"Called context menu", L"Context menu: GetData failed (8000ffff); mh : 0"}));
}

TEST_F(MenuRefusalTest, WithoutAnAgentThereIsNoMenu) {
  FakeDataObject selection({MakeFolderWithMenu()});
  const MenuHandler handler(library_);
  handler.Select(&selection);
  service_ = FakeAgentMutex(AgentKind::kUser);  // the other agent does not count
  EXPECT_EQ(
      LinesOfRefusal(handler),
      (Lines{L"Called context menu", L"Context menu: menu will not be shown. No pipe and scope isn't USER"}));
}

// --- Help texts ---

TEST_F(MenuHandlerTest, HelpTextsAreTheMenuTextsInBothWidths) {
  const struct {
    UINT_PTR offset;
    const char* narrow;
    const wchar_t* wide;
  } rows[] = {{1, "Share with Nimbrel Veskard Agent", L"Share with Nimbrel Veskard Agent"},
              {2, "Sync to this device", L"Sync to this device"},
              {3, "Cancel receiving", L"Cancel receiving"},
              {4, "Remove from this device", L"Remove from this device"},
              {5, "Remove from all devices", L"Remove from all devices"}};
  const MenuHandler handler(library_);
  for (const auto& row : rows) {
    char narrow[100] = "unchanged";
    EXPECT_EQ(handler.Menu()->GetCommandString(row.offset, GCS_HELPTEXTA, nullptr, narrow, 100), S_OK);
    EXPECT_STREQ(narrow, row.narrow);
    wchar_t wide[100] = L"unchanged";
    EXPECT_EQ(handler.Menu()->GetCommandString(row.offset, GCS_HELPTEXTW, nullptr,
                                               reinterpret_cast<char*>(wide), 100),
              S_OK);
    EXPECT_STREQ(wide, row.wide);
  }
}

TEST_F(MenuHandlerTest, AHelpTextIsCutToTheRoomThereIs) {
  const MenuHandler handler(library_);
  char narrow[6] = "#####";
  EXPECT_EQ(handler.Menu()->GetCommandString(2, GCS_HELPTEXTA, nullptr, narrow, 5), S_OK);
  EXPECT_STREQ(narrow, "Sync");
  wchar_t wide[6] = L"#####";
  EXPECT_EQ(handler.Menu()->GetCommandString(2, GCS_HELPTEXTW, nullptr, reinterpret_cast<char*>(wide), 5),
            S_OK);
  EXPECT_STREQ(wide, L"Sync");
}

TEST_F(MenuHandlerTest, NoRoomMeansNothingIsWritten) {
  const MenuHandler handler(library_);
  char narrow[2] = "#";
  EXPECT_EQ(handler.Menu()->GetCommandString(2, GCS_HELPTEXTA, nullptr, narrow, 0), S_OK);
  EXPECT_STREQ(narrow, "#");
}

TEST_F(MenuHandlerTest, EveryOtherTypeIsRefused) {
  const MenuHandler handler(library_);
  for (const int type : {GCS_VERBA, GCS_VERBW, GCS_VALIDATEA, GCS_VALIDATEW, 3, 7, 0x14}) {
    char text[100] = "unchanged";
    EXPECT_EQ(handler.Menu()->GetCommandString(2, static_cast<UINT>(type), nullptr, text, 50), E_INVALIDARG)
        << type;
    EXPECT_STREQ(text, "unchanged");
  }
}

TEST_F(MenuHandlerTest, AnUnknownOffsetHasNoHelpText) {
  const MenuHandler handler(library_);
  char text[100] = {};
  constexpr UINT_PTR kUpperHalf = UINT_PTR{1} << (4 * sizeof(UINT_PTR));
  for (const UINT_PTR offset :
       {UINT_PTR{0}, UINT_PTR{6}, UINT_PTR{kFirstId + 2}, static_cast<UINT_PTR>(-1), kUpperHalf + 2}) {
    EXPECT_EQ(handler.Menu()->GetCommandString(offset, GCS_HELPTEXTA, nullptr, text, 100), E_INVALIDARG);
  }
}

// --- The end ---

std::vector<std::string> events;
BOOL WINAPI NoteDeletedObject(HGDIOBJ object) {
  events.push_back(::GetObjectType(object) == OBJ_BITMAP ? "bitmap" : "other");
  return ::DeleteObject(object);
}
using GdiplusShutdownFunction = void WINAPI(ULONG_PTR);
const FunctionPatch<GdiplusShutdownFunction>* shutdownPatch = nullptr;
void WINAPI NoteShutdown(ULONG_PTR token) {
  events.push_back("gdiplus");
  shutdownPatch->CallOriginal(token);
}
// A selection that notes when it is let go.
class NotedSelection final : public IUnknown {
 public:
  STDMETHODIMP QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
  STDMETHODIMP_(ULONG) AddRef() override { return 2; }
  STDMETHODIMP_(ULONG) Release() override {
    events.push_back("selection");
    return 1;
  }
};

TEST_F(MenuHandlerTest, AtTheEndTheSelectionGoesFirstThenTheBitmapsThenGdiplus) {
  NotedSelection selection;
  FakeDataObject shown({MakeFolderWithMenu()});
  const FunctionPatch deleteObject(library_.Module(), "DeleteObject", &NoteDeletedObject);
  const FunctionPatch shutdown(library_.Module(), "GdiplusShutdown", &NoteShutdown);
  shutdownPatch = &shutdown;
  {
    const MenuHandler handler(library_);
    handler.Select(&shown);
    handler.Query(menu_.Get());
    // Only counted, never asked: it needs no more than the first three methods.
    handler.Select(reinterpret_cast<IDataObject*>(static_cast<IUnknown*>(&selection)));
    events.clear();
  }
  EXPECT_EQ(events, (std::vector<std::string>{"selection", "bitmap", "bitmap", "bitmap", "gdiplus"}));
}

// Some selections hand themselves to whoever lets go of them.
TEST_F(MenuHandlerTest, ASelectionMayTakeAndGiveBackAReferenceWhileTheHandlerGoes) {
  FakeDataObject selection({MakeFolderWithMenu()});
  const FunctionPatch deleteObject(library_.Module(), "DeleteObject", &NoteDeletedObject);
  {
    const MenuHandler handler(library_);
    handler.Select(&selection);
    handler.Query(menu_.Get());
    selection.AtTheLastRelease([menu = handler.Menu()] {
      menu->AddRef();
      menu->Release();
    });
    events.clear();
  }
  EXPECT_EQ(events, (std::vector<std::string>{"bitmap", "bitmap", "bitmap"}));
}

// --- Hosts that call while the selection answers ---

TEST_F(MenuHandlerTest, ASelectionIsHeldWhileItAnswers) {
  FakeDataObject selection({MakeFolderWithMenu()});
  const MenuHandler handler(library_);
  handler.Select(&selection);
  selection.BeforeTheNextAnswer([&] {
    EXPECT_EQ(handler.Select(nullptr), S_OK);
    EXPECT_EQ(selection.References(), 1u);
  });
  EXPECT_EQ(handler.Query(menu_.Get()), 6);
  EXPECT_EQ(Letters(ItemsOf(menu_.Get())), "SRA");
  EXPECT_EQ(selection.References(), 0u);
}

TEST_F(MenuHandlerTest, AHandlerMayBeReleasedWhileItsSelectionAnswers) {
  FakeDataObject selection({MakeFolderWithMenu()});
  {
    const MenuHandler first(library_);  // draws the pictures
    first.Select(&selection);
    first.Query(menu_.Get());
  }
  const FunctionPatch deleteObject(library_.Module(), "DeleteObject", &NoteDeletedObject);
  auto handler = std::make_unique<MenuHandler>(library_);
  IContextMenu* const menu = handler->Menu();
  handler->Select(&selection);
  events.clear();
  selection.BeforeTheNextAnswer([&] {
    handler.reset();
    EXPECT_TRUE(events.empty()) << "its bitmaps are gone, and so is the handler";
  });
  EXPECT_EQ(menu->QueryContextMenu(menu_.Get(), 0, kFirstId, kFirstId + 100, CMF_NORMAL), 6);
  EXPECT_EQ(events, (std::vector<std::string>{"bitmap", "bitmap", "bitmap"}));
  EXPECT_EQ(selection.ListsInUse(), 0);
}

TEST_F(MenuHandlerTest, AMenuWithinAMenuLeavesOneList) {
  FakeDataObject selection({MakeFolderWithMenu()});
  {
    const MenuHandler handler(library_);
    handler.Select(&selection);
    const UniqueMenu inner(::CreatePopupMenu());
    selection.BeforeTheNextAnswer([&] { EXPECT_EQ(handler.Query(inner.Get()), 6); });
    EXPECT_EQ(handler.Query(menu_.Get()), 6);
    EXPECT_EQ(Letters(ItemsOf(inner.Get())), "SRA");
    EXPECT_EQ(Letters(ItemsOf(menu_.Get())), "SRA");
    EXPECT_EQ(selection.ListsGiven(), 2);
    EXPECT_EQ(selection.ListsInUse(), 1);
  }
  EXPECT_EQ(selection.ListsInUse(), 0);
}

TEST_F(MenuHandlerTest, AFailureAroundAnotherMenuLeavesNoSelection) {
  FakeAgent agent(AgentKind::kService);
  FakeDataObject selection({MakeFolderWithMenu()});
  const MenuHandler handler(library_);
  handler.Select(&selection);
  const UniqueMenu inner(::CreatePopupMenu());
  selection.BeforeTheNextAnswer([&] {
    EXPECT_EQ(handler.Query(inner.Get()), 6);
    selection.AnswerWith(E_FAIL, {});
  });
  EXPECT_EQ(handler.Query(menu_.Get()), E_NOTIMPL);
  EXPECT_EQ(selection.ListsInUse(), 0);
  EXPECT_EQ(handler.Invoke(1), S_OK);
  EXPECT_EQ(agent.NextBatch(), PipeMessages{"d6:actioni7e5:filesle4:lasti1ee"}) << "no item is selected";
}

// --- The list ---

TEST_F(MenuHandlerTest, TheListIsFreedWithTheHandler) {
  FakeDataObject selection({MakeFolderWithMenu()});
  {
    const MenuHandler handler(library_);
    handler.Select(&selection);
    handler.Query(menu_.Get());
    EXPECT_EQ(selection.ListsInUse(), 1);
    handler.Query(menu_.Get());
    EXPECT_EQ(selection.ListsGiven(), 2);
    EXPECT_EQ(selection.ListsInUse(), 1);
    handler.Select(nullptr);
    EXPECT_EQ(selection.ListsInUse(), 1) << "a command may still be chosen";
  }
  EXPECT_EQ(selection.ListsInUse(), 0);
}

}  // namespace
}  // namespace veskard::test
