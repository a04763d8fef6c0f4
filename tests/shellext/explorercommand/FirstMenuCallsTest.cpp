// What a first menu may call of the system, and how often.
#include <algorithm>
#include <string>
#include <vector>

#include "shellext/contextmenu/MenuSelection.h"
#include "tests/shellext/explorercommand/FirstMenu.h"
#include "tests/support/WatchedCalls.h"
#include "util/string/CodePage.h"

namespace veskard::test {
namespace {

// A menu makes these calls and no other, except for the C run-time library, locks, and what only
// reads the process's own state.
struct MenuCalls {
  const char* function;
  long outside = 0;      // a menu for a file outside any folder
  long inside = 0;       // a menu inside a folder
  long prefix = 0;       // more for each folder that is asked whether it is a root
  long file = 0;         // for each item that is no placeholder
  long placeholder = 0;  // for each placeholder
};

// clang-format off
constexpr MenuCalls kMenu[] = {
    //                     outside  inside  prefix  file  placeholder
    // The class object and the fly-out come and go: the switch of the log is read each time
    {"RegOpenKeyExW",           4,      4},
    {"RegQueryValueExW",        4,      4},
    {"RegCloseKey",             4,      4},
    // The agent and the marks
    {"OpenMutexW",              1,      1},
    {"GetFileAttributesW",      1,      1,      1,     1,      1},
    {"GetUserNameW",            0,      1},
    {"MultiByteToWideChar",     0,      2},
    {"PathFindExtensionW",      0,      0,      0,     1,      1},
    {"CreateFileW",             0,      1,      0,     0,      1},
    {"ReadFile",                0,      1,      0,     0,      1},
    {"CloseHandle",             1,      2,      0,     0,      1},
};
// clang-format on

// Memory and locks cost almost nothing.
constexpr const char* kCheapCalls[] = {"malloc",
                                       "calloc",
                                       "realloc",
                                       "free",
                                       "CoTaskMemAlloc",
                                       "CoTaskMemFree",
                                       "EnterCriticalSection",
                                       "LeaveCriticalSection",
                                       "WakeAllConditionVariable"};

class FirstMenuCallsTest : public FirstMenuTest {
 protected:
  FirstMenuCallsTest() {
    SetLogSwitch(0);
    root_ = tree_.MarkRoot(L"folder", SelectiveOwnedBy(Utf8FromWide(CurrentUserName())));
    for (int i = 0; i < 100; ++i) {
      const std::wstring name = L"folder\\photo " + std::to_wstring(i) + L".jpg";
      items_.push_back(i % 2 == 0
                           ? tree_.MakeFile(name)
                           : tree_.MakePlaceholder(name + L".ghpl", i % 4 == 1 ? kNotReceived : kReceiving));
    }
    outside_ = tree_.MakeFile(L"elsewhere\\photo.jpg");
    Show({outside_});  // what a process does once only
    Show(First(4));
  }

  // From the class object to the last release; each command is asked for everything, as for a
  // menu that is shown.
  CallNumbers Show(const std::vector<std::wstring>& paths) const {
    StandInArray selection(paths);
    const WatchedCalls calls(library_.Module());
    {
      const auto flyOut = library_.NewFlyOut();
      FirstMenuLetters(*flyOut.Get(), &selection);
      TextOf(*flyOut.Get(), &IExplorerCommand::GetTitle);
    }
    CallNumbers numbers = calls.Numbers(Threads::kAll);
    for (const char* cheap : kCheapCalls) numbers.erase(cheap);
    return numbers;
  }

  std::vector<std::wstring> First(long count) const { return {items_.begin(), items_.begin() + count}; }

  // A path and each folder above it.
  static long Prefixes(const std::wstring& path) {
    return static_cast<long>(std::ranges::count(path, L'\\')) + 1;
  }

  CallNumbers CallsInside(long count) const {
    CallNumbers expected;
    for (const MenuCalls& row : kMenu) {
      expected[row.function] = row.inside + row.prefix * Prefixes(root_) + row.file * ((count + 1) / 2) +
                               row.placeholder * (count / 2);
    }
    return expected;
  }
  CallNumbers CallsOutside() const {
    CallNumbers expected;
    for (const MenuCalls& row : kMenu) expected[row.function] = row.outside + row.prefix * Prefixes(outside_);
    return expected;
  }

  static void ExpectCalls(CallNumbers calls, const CallNumbers& expected) {
    for (const auto& [function, times] : expected) calls.try_emplace(function, 0);
    for (const auto& [function, times] : calls) {
      const auto row = expected.find(function);
      EXPECT_EQ(times, row == expected.end() ? 0 : row->second) << function;
    }
  }

  std::wstring root_, outside_;
  std::vector<std::wstring> items_;
};

TEST_F(FirstMenuCallsTest, AMenuOutsideAnyFolder) {
  ExpectCalls(Show({outside_}), CallsOutside());
}

TEST_F(FirstMenuCallsTest, AMenuInsideAFolder) {
  for (const long count : {1, 2, 20, 100}) ExpectCalls(Show(First(count)), CallsInside(count));
}

// Each item more is one question more, and nothing else.
TEST_F(FirstMenuCallsTest, AMenuOfSixteenThousandItems) {
  std::vector<std::wstring> paths(16000, items_[0] + L" is gone");
  paths[0] = items_[0];
  CallNumbers expected = CallsInside(1);
  expected["GetFileAttributesW"] += 15999;
  ExpectCalls(Show(paths), expected);
}

}  // namespace
}  // namespace veskard::test
