// The bare side of menu_bench makes the library's own calls: for each function that
// the library imports, both sides call it equally often. One is excepted: a conversion
// from UTF-8 asks for the length first, where the bare side has a buffer large enough.
#include <gtest/gtest.h>

#include <functional>

#include "bench/menu/BareMenu.h"
#include "bench/menu/BenchSelection.h"
#include "bench/menu/CallTally.h"
#include "bench/menu/MenuHost.h"
#include "core/WindowsOwners.h"

namespace veskard::bench {
namespace {

CallNumbers CallsOf(HMODULE module, const std::function<void()>& run) {
  const CallTally tally(module);
  run();
  return tally.Numbers();
}

long CallsIn(const CallNumbers& numbers, const std::string& function) {
  const auto found = numbers.find(function);
  return found == numbers.end() ? 0 : found->second;
}

void ExpectSameCalls(const CallNumbers& ours, const CallNumbers& bare) {
  EXPECT_GT(CallsIn(ours, "GetFileAttributesW"), 1);  // both are counted at all
  for (const auto& [function, calls] : ours) {
    const long perConversion = function == "MultiByteToWideChar" ? 2 : 1;
    EXPECT_EQ(calls, perConversion * CallsIn(bare, function)) << function;
  }
}

class MenuCallsTest : public testing::Test {
 protected:
  void ExpectSameRightClick(const std::vector<std::wstring>& items) {
    BenchSelection selection(items);
    const UniqueMenu first(::CreatePopupMenu()), ours(::CreatePopupMenu()), bare(::CreatePopupMenu());
    host_.RightClick(selection.Data(), first.Get());  // what a process does but once
    ExpectSameCalls(CallsOf(host_.Library(), [&] { host_.RightClick(selection.Data(), ours.Get()); }),
                    CallsOf(::GetModuleHandleW(nullptr),
                            [&] { BareRightClick(host_.Library(), selection.Data(), bare.Get()); }));
    EXPECT_EQ(::GetMenuItemCount(ours.Get()), ::GetMenuItemCount(bare.Get()));
  }

  const MenuHost host_;
  const BenchFolder folder_{100};
};

TEST_F(MenuCallsTest, ARightClickOutsideAnyFolderMakesTheBareCalls) {
  ExpectSameRightClick({folder_.Outside()});
}

TEST_F(MenuCallsTest, ARightClickOnOneItemMakesTheBareCalls) {
  ExpectSameRightClick(folder_.First(1));
}

TEST_F(MenuCallsTest, ARightClickOnAHundredItemsMakesTheBareCalls) {
  ExpectSameRightClick(folder_.First(100));
}

TEST_F(MenuCallsTest, EveryItemMoreTakesTheSameCalls) {
  const auto callsFor = [this](uint32_t items) {
    BenchSelection selection(folder_.First(items));
    const UniqueMenu menu(::CreatePopupMenu());
    return CallsOf(host_.Library(), [&] { host_.RightClick(selection.Data(), menu.Get()); });
  };
  callsFor(1);
  const CallNumbers few = callsFor(20), some = callsFor(60), many = callsFor(100);
  EXPECT_GT(CallsIn(some, "CreateFileW"), CallsIn(few, "CreateFileW"));
  for (const auto& [function, calls] : some)
    EXPECT_EQ(CallsIn(many, function) - calls, calls - CallsIn(few, function)) << function;
}

// The caller's part of it; the senders go their own ways.
TEST_F(MenuCallsTest, AChoiceMakesTheBareCalls) {
  BenchSelection selection(folder_.First(10));
  const test::MenuHandler handler(host_.Extension());
  const UniqueMenu menu(::CreatePopupMenu());
  handler.Select(selection.Data());
  handler.Query(menu.Get());
  const CallNumbers ours = CallsOf(host_.Library(), [&] { handler.Invoke(UINT_PTR{4}); });
  const CallNumbers bare =
      CallsOf(::GetModuleHandleW(nullptr), [&] { BareChoice(selection.Drop(), selection.Count()); });
  for (const char* function : {"OpenMutexW", "DragQueryFileW", "WNetGetUniversalNameW", "CreateThread"}) {
    EXPECT_GT(CallsIn(ours, function), 0) << function;
    EXPECT_EQ(CallsIn(ours, function), CallsIn(bare, function)) << function;
  }
  handler.Select(nullptr);
}

}  // namespace
}  // namespace veskard::bench
