// What a right-click and a choice may call of the system, and how often.
#include <gtest/gtest.h>
#include <windows.h>
// The networks' header needs the basic types first.
#include <winnetwk.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tests/shellext/contextmenu/CallingHost.h"
#include "util/string/CodePage.h"

namespace veskard::test {
namespace {

// A right-click makes these calls and no other, except those of the C run-time library, locks and
// what only reads the process's own state (the last error, a thread's values).
struct ClickCalls {
  const char* function;
  long outside = 0;      // a right-click on a file outside any folder
  long inside = 0;       // a right-click inside a folder
  long prefix = 0;       // more for each folder that is asked whether it is a root
  long command = 0;      // for each command that is shown
  long file = 0;         // for each item that is no placeholder
  long placeholder = 0;  // for each placeholder
};

// clang-format off
constexpr ClickCalls kRightClick[] = {
    //                             outside  inside  prefix  command  file  placeholder
    // The class object and the handler come and go: the switch of the log is read each time
    {"RegOpenKeyExW",                  4,       4},
    {"RegQueryValueExW",               4,       4},
    {"RegCloseKey",                    4,       4},
    // The selection, the agent, the marks
    {"GlobalLock",                     1,       1},
    {"GlobalSize",                     1,       1},
    {"GlobalUnlock",                   1,       1},
    {"ReleaseStgMedium",               1,       1},
    {"OpenMutexW",                     1,       1},
    {"GetFileAttributesW",             1,       1,       1,        0,     1,       1},
    {"GetUserNameW",                   0,       1},
    {"MultiByteToWideChar",            0,       2},
    {"PathFindExtensionW",             0,       0,       0,        0,     1,       1},
    {"CreateFileW",                    0,       1,       0,        0,     0,       1},
    {"ReadFile",                       0,       1,       0,        0,     0,       1},
    {"CloseHandle",                    1,       2,       0,        0,     0,       1},
    // The menu
    {"InsertMenuW",                    0,       0,       0,        1},
    {"SetMenuItemInfoW",               0,       0,       0,        1},
    {"SetMenuInfo",                    0,       0,       0,        1},
};

// And these for the pictures beside the items, of which a menu without items has none.
struct PictureCalls {
  const char* function;
  long menu = 0;     // a menu with items
  long bitmap = 0;   // for each picture that is shown, in however many items
  long picture = 0;  // for each picture that the process draws, which it does once for a size
  long drawing = 0;  // a menu for which any is drawn
};

constexpr PictureCalls kPictures[] = {
    //                              menu  bitmap  picture  drawing
    {"GetSystemMetrics",               2},
    {"CreateDIBSection",               0,      1},
    {"DeleteObject",                   0,      1,       3},
    {"GdiplusStartup",                 0,      0,       0,       1},
    {"GdiplusShutdown",                0,      0,       0,       1},
    {"GetModuleHandleExW",             0,      0,       1},
    {"GetModuleFileNameW",             0,      0,       1},
    {"LoadImageW",                     0,      0,       2},
    {"GetIconInfo",                    0,      0,       1},
    {"GdipBitmapLockBits",             0,      0,       1},
    {"GdipBitmapUnlockBits",           0,      0,       1},
    {"GdipCreateBitmapFromHBITMAP",    0,      0,       1},
    {"GdipCreateBitmapFromScan0",      0,      0,       3},
    {"GdipGetImageGraphicsContext",    0,      0,       2},
    {"GdipGetImageWidth",              0,      0,       2},
    {"GdipGetImageHeight",             0,      0,       2},
    {"GdipGetImagePixelFormat",        0,      0,       2},
    {"GdipDrawImageI",                 0,      0,       1},
    {"GdipDrawImageRectI",             0,      0,       1},
    {"GdipCreateHBITMAPFromBitmap",    0,      0,       1},
    {"GdipDeleteGraphics",             0,      0,       2},
    {"GdipDisposeImage",               0,      0,       4},
    {"DestroyIcon",                    0,      0,       1},
    {"CreateCompatibleDC",             0,      0,       1},
    {"GetDIBits",                      0,      0,       1},
    {"DeleteDC",                       0,      0,       1},
};

// A choice, on the caller's thread: once, for each item, and for each drive that the items
// lie on.
struct ChoiceCalls {
  const char* function;
  long once;
  long item = 0;
  long localDrive = 0;
  long mappedDrive = 0;
};

constexpr ChoiceCalls kChoice[] = {
    //                          once  item  local drive  mapped drive
    {"OpenMutexW",               1},
    {"GlobalLock",               1},
    {"GlobalSize",               1},
    {"GlobalUnlock",             1},
    {"GetDriveTypeW",            0,    0,    1,           1},
    {"WNetGetUniversalNameW",    0,    0,    0,           1},
    {"WideCharToMultiByte",      0,    2},
    {"GetModuleHandleExW",       1},
    {"CreateThread",             1},
    {"CloseHandle",              2},
};
// clang-format on

/// A folder with items of all kinds, and a file outside.
class MenuCallsTest : public testing::Test {
 protected:
  MenuCallsTest() {
    wchar_t user[257] = {};
    DWORD size = 257;
    ::GetUserNameW(user, &size);
    root_ = tree_.MarkRoot(L"folder", SelectiveOwnedBy(Utf8FromWide(user)));
    for (int i = 0; i < 100; ++i) {
      const std::wstring name = L"folder\\photo " + std::to_wstring(i) + L".jpg";
      items_.push_back(i % 2 == 0
                           ? tree_.MakeFile(name)
                           : tree_.MakePlaceholder(name + L".ghpl", i % 4 == 1 ? kNotReceived : kReceiving));
    }
    RightClick({outside_});  // what a process does once only
    RightClick(First(4));
  }

  struct Clicked {
    CallNumbers calls;
    long commands = 0;
  };

  /// From the class object to the last release.
  Clicked RightClick(const std::vector<std::wstring>& items) {
    FakeDataObject selection(items);
    const UniqueMenu menu(::CreatePopupMenu());
    Clicked clicked;
    clicked.calls = host_.CallsOf(
        [&] {
          const MenuHandler handler(host_.Library());
          handler.Select(&selection);
          handler.Query(menu.Get());
        },
        Threads::kAll);
    clicked.commands = std::max(0, ::GetMenuItemCount(menu.Get()));
    return clicked;
  }

  /// What the caller's thread calls when a command is chosen for these items.
  CallNumbers Choose(const std::vector<std::wstring>& items) {
    FakeDataObject selection(items);
    const MenuHandler handler(host_.Library());
    const UniqueMenu menu(::CreatePopupMenu());
    handler.Select(&selection);
    handler.Query(menu.Get());
    const CallNumbers calls = host_.CallsOf(
        [&] {
          if (types_ != nullptr) AnswerBy("GetDriveTypeW", types_);
          if (names_ != nullptr) AnswerBy("WNetGetUniversalNameW", names_);
          handler.Invoke(UINT_PTR{4});
          StopAnswering();
        },
        Threads::kThisOne);
    handler.Select(nullptr);
    return calls;
  }

  std::vector<std::wstring> First(long count) const { return {items_.begin(), items_.begin() + count}; }

  /// Of a right-click on the first `count` items; `drawn` pictures are drawn for it.
  CallNumbers CallsInside(long count, long commands, long drawn) const {
    CallNumbers expected;
    for (const ClickCalls& row : kRightClick) {
      expected[row.function] = row.inside + row.prefix * Prefixes(root_) + row.command * commands +
                               row.file * ((count + 1) / 2) + row.placeholder * (count / 2);
    }
    const long bitmaps = std::min(commands, 3L);  // two commands share one
    for (const PictureCalls& row : kPictures) {
      expected[row.function] +=
          row.menu + row.bitmap * bitmaps + row.picture * drawn + (drawn > 0 ? row.drawing : 0);
    }
    return expected;
  }

  // A path and each folder above it.
  static long Prefixes(const std::wstring& path) {
    return static_cast<long>(std::ranges::count(path, L'\\')) + 1;
  }

  const CallingHost host_;
  SyncTree tree_;
  std::wstring root_;
  std::vector<std::wstring> items_;
  void* types_ = nullptr;  // what answers for the system's drives and its network
  void* names_ = nullptr;
  const std::wstring outside_ = tree_.MakeFile(L"elsewhere\\photo.jpg");
};

void ExpectCalls(CallNumbers calls, const CallNumbers& expected, const std::vector<std::wstring>& items) {
  for (const auto& [function, times] : expected) calls.try_emplace(function, 0);
  for (const auto& [function, times] : calls) {
    const auto row = expected.find(function);
    EXPECT_EQ(times, row == expected.end() ? 0 : row->second) << function << " for " << items.size();
  }
}

TEST_F(MenuCallsTest, ARightClickOutsideAnyFolder) {
  CallNumbers expected;
  for (const ClickCalls& row : kRightClick)
    expected[row.function] = row.outside + row.prefix * Prefixes(outside_);
  ExpectCalls(RightClick({outside_}).calls, expected, {outside_});
}

TEST_F(MenuCallsTest, ARightClickInsideAFolder) {
  for (const long count : {1, 2, 20, 60, 100}) {
    const Clicked clicked = RightClick(First(count));
    EXPECT_EQ(clicked.commands, count == 1 ? 2 : count == 2 ? 3 : 4);
    ExpectCalls(clicked.calls, CallsInside(count, clicked.commands, 0), First(count));
  }
}

// A system whose check marks have become larger.
int WINAPI LargerCheckMarks(int) {
  return 40;
}

TEST_F(MenuCallsTest, TheFirstRightClicksOfASizeDrawThePicturesThatTheyShow) {
  AnswerBy("GetSystemMetrics", reinterpret_cast<void*>(&LargerCheckMarks));
  ExpectCalls(RightClick(First(1)).calls, CallsInside(1, 2, 2), First(1));
  ExpectCalls(RightClick(First(2)).calls, CallsInside(2, 3, 1), First(2));
  ExpectCalls(RightClick(First(4)).calls, CallsInside(4, 4, 0), First(4));
  StopAnswering();
}

// All but the first are gone: each is asked about all the same.
std::vector<std::wstring> ManyItems(const std::wstring& first, long count) {
  std::vector<std::wstring> items(static_cast<size_t>(count), first + L" is gone");
  items[0] = first;
  return items;
}

// Each item more is one question more, and nothing else.
TEST_F(MenuCallsTest, ARightClickOnSixteenAndOnSixteenThousandItems) {
  for (const long count : {16, 16000}) {
    const std::vector<std::wstring> items = ManyItems(items_[0], count);
    CallNumbers expected = CallsInside(1, 2, 0);
    expected["GetFileAttributesW"] += count - 1;
    ExpectCalls(RightClick(items).calls, expected, items);
  }
}

CallNumbers ChoiceOf(long items, long localDrives, long mappedDrives) {
  CallNumbers expected;
  for (const ChoiceCalls& row : kChoice) {
    expected[row.function] =
        row.once + row.item * items + row.localDrive * localDrives + row.mappedDrive * mappedDrives;
  }
  return expected;
}

TEST_F(MenuCallsTest, AChoice) {
  for (const long count : {1, 10, 100, 16000}) {
    const std::vector<std::wstring> items = ManyItems(items_[0], count);
    ExpectCalls(Choose(items), ChoiceOf(count, 1, 0), items);
  }
}

UINT WINAPI TypeOfDrive(const wchar_t* root) {
  return root[0] == L'X' || root[0] == L'Y' ? DRIVE_REMOTE : DRIVE_FIXED;
}

DWORD WINAPI NameOfShare(const wchar_t*, DWORD, void* buffer, DWORD* size) {
  static wchar_t share[] = L"\\\\server\\share\\";
  *size = sizeof(UNIVERSAL_NAME_INFOW) + sizeof(share);
  static_cast<UNIVERSAL_NAME_INFOW*>(buffer)->lpUniversalName = share;
  return NO_ERROR;
}

TEST_F(MenuCallsTest, AChoiceOnMappedDrives) {
  std::vector<std::wstring> items;
  for (int i = 0; i < 100; ++i) {
    for (const wchar_t* root : {L"X:\\", L"Y:\\", L"C:\\", L"\\\\server\\share\\"})
      items.push_back(root + std::to_wstring(i));
  }
  Choose({L"without a drive"});  // the network is asked about it: its library is loaded once
  types_ = reinterpret_cast<void*>(&TypeOfDrive);
  names_ = reinterpret_cast<void*>(&NameOfShare);
  ExpectCalls(Choose(items), ChoiceOf(400, 1, 2), items);
}

}  // namespace
}  // namespace veskard::test
