// The built library when memory ends, selections are large, and right-clicks many.
#include <thread>
#include <utility>

#include "core/WindowsOwners.h"
#include "shellext/ClassIds.h"
#include "tests/shellext/contextmenu/LibraryMenu.h"
#include "tests/support/GdiHandleCount.h"
#include "tests/support/WatchedCalls.h"

namespace veskard::test {
namespace {

// --- Memory ends ---

class MemoryEndsTest : public LibraryMenuTest {
 protected:
  MemoryEndsTest() { tree_.MarkRoot(L"root", "d4:modei1e5:owner0:4:typei2ee"); }

  UniqueCom<IClassFactory> Factory() const {
    UniqueCom<IClassFactory> factory;
    EXPECT_EQ(
        library_.DllGetClassObject(ClassId(5), IID_IClassFactory, reinterpret_cast<void**>(factory.Out())),
        S_OK);
    return factory;
  }
};

// Runs `attempt` with the first request for memory refused, then the second, and
// so on until it asks for fewer; nothing may be left of them. Returns how many
// were refused.
template <class Attempt>
size_t FailEachRequest(const Attempt& attempt) {
  // The first exception of a thread makes the run-time library keep some blocks.
  const auto attemptWith = [&attempt](size_t number) {
    const ArmedFault failing(Allocation(number));
    const HRESULT result = attempt();
    return std::pair(result, failing.Happened());
  };
  attemptWith(1);
  const size_t before = LiveBlocks();
  for (size_t number = 1;; ++number) {
    const auto [result, failed] = attemptWith(number);
    if (!failed) {
      // A sender's own blocks go a moment after its messages.
      for (int i = 0; i < 500 && LiveBlocks() != before; ++i) ::Sleep(10);
      EXPECT_EQ(LiveBlocks(), before);
      return number - 1;
    }
    EXPECT_TRUE(result == E_OUTOFMEMORY || SUCCEEDED(result)) << number << ": " << std::hex << result;
  }
}

TEST_F(MemoryEndsTest, NoHandlerIsMadeAndNothingLeaks) {
  const UniqueCom<IClassFactory> factory = Factory();
  { const MenuHandler warm(library_); }
  const WatchedCalls heap(library_.Module(), kHeapCalls);
  const size_t gdiBefore = CountGdiHandles();
  const size_t refused = FailEachRequest([&] {
    void* object = this;
    const HRESULT result = factory.Get()->CreateInstance(nullptr, IID_IContextMenu, &object);
    EXPECT_EQ(object == nullptr, FAILED(result));
    if (SUCCEEDED(result)) static_cast<IContextMenu*>(object)->Release();
    return result;
  });
  EXPECT_GT(refused, 0u);
  EXPECT_EQ(CountGdiHandles(), gdiBefore);
}

TEST_F(MemoryEndsTest, AMenuIsWholeOrEmpty) {
  FakeDataObject selection(
      {tree_.MakeFolder(L"root\\a"), tree_.MakePlaceholder(L"root\\b.ghpl", kReceiving)});
  const MenuHandler handler(library_);
  handler.Select(&selection);
  {
    const UniqueMenu warm(::CreatePopupMenu());
    handler.Query(warm.Get());
  }
  const WatchedCalls heap(library_.Module(), kHeapCalls);
  const size_t refused = FailEachRequest([&] {
    const UniqueMenu menu(::CreatePopupMenu());
    const HRESULT result = handler.Query(menu.Get());
    EXPECT_EQ(Letters(ItemsOf(menu.Get())), SUCCEEDED(result) ? "SCRa" : "");
    return result;
  });
  EXPECT_GT(refused, 20u);
}

TEST_F(MemoryEndsTest, ACommandIsSentWholeOrNotAtAll) {
  FakeAgent agent(AgentKind::kService);
  const std::vector<std::wstring> items = {tree_.MakeFile(L"root\\a.txt"), tree_.MakeFile(L"root\\b.txt")};
  FakeDataObject selection(items);
  const MenuHandler handler(library_);
  handler.Select(&selection);
  const UniqueMenu menu(::CreatePopupMenu());
  handler.Query(menu.Get());
  size_t failures = 0;
  const WatchedCalls heap(library_.Module(), kHeapCalls);
  const size_t refused = FailEachRequest([&] {
    const HRESULT result = handler.Invoke(2);
    if (SUCCEEDED(result)) {
      const auto batch = agent.NextBatch();
      EXPECT_EQ(batch ? batch->size() : 0, 2u);
    } else {
      ++failures;
    }
    return result;
  });
  EXPECT_GT(refused, 10u);
  EXPECT_EQ(failures, refused + 1) << "with the one before the count";
  EXPECT_EQ(agent.NextBatch(std::chrono::milliseconds(100)), std::nullopt);
}

// The first handler of a process loads the language and fills the texts. What
// fails in the middle of that, the next handler makes up for.
struct FirstHandler {
  HRESULT result = S_OK;
  bool requestFailed = false;
};

FirstHandler MakeFirstHandler(const ExtensionLibrary& library, size_t failingRequest) {
  UniqueCom<IClassFactory> factory;
  library.DllGetClassObject(ClassId(5), IID_IClassFactory, reinterpret_cast<void**>(factory.Out()));
  const WatchedCalls heap(library.Module(), kHeapCalls);
  const ArmedFault failing(Allocation(failingRequest));
  UniqueCom<IContextMenu> menu;
  FirstHandler first;
  first.result =
      factory.Get()->CreateInstance(nullptr, IID_IContextMenu, reinterpret_cast<void**>(menu.Out()));
  first.requestFailed = failing.Happened();
  return first;
}

TEST(FirstHandlerTest, WhatFailsTheFirstTimeIsMadeUpForTheSecondTime) {
  const RegistrySandbox registry;
  size_t refusals = 0;
  // Every request of the beginning and the end, a sample of those between.
  for (size_t number = 1;; number += 1 + number / 16) {
    SCOPED_TRACE(number);
    const ExtensionLibrary library;
    const FirstHandler first = MakeFirstHandler(library, number);
    EXPECT_TRUE(first.result == E_OUTOFMEMORY || SUCCEEDED(first.result)) << std::hex << first.result;
    if (FAILED(first.result)) ++refusals;

    const MenuHandler second(library);
    wchar_t text[100] = {};
    EXPECT_EQ(second.Menu()->GetCommandString(5, GCS_HELPTEXTW, nullptr, reinterpret_cast<char*>(text), 100),
              S_OK);
    EXPECT_STREQ(text, L"Remove from all devices");
    if (!first.requestFailed) break;
  }
  EXPECT_GT(refusals, 5u);
}

TEST(FirstHandlerTest, HelpTextsThatCouldNotBeCopiedAreCopiedTheNextTime) {
  const RegistrySandbox registry;
  for (size_t number = 1;; ++number) {
    const ExtensionLibrary library;
    const MenuHandler handler(library);
    char text[100] = {};
    const auto ask = [&] { return handler.Menu()->GetCommandString(4, GCS_HELPTEXTA, nullptr, text, 100); };
    bool failed = false;
    {
      const WatchedCalls heap(library.Module(), kHeapCalls);
      const ArmedFault failing(Allocation(number));
      const HRESULT result = ask();
      failed = failing.Happened();
      EXPECT_EQ(result, failed ? E_OUTOFMEMORY : S_OK);
    }
    EXPECT_EQ(ask(), S_OK);
    EXPECT_STREQ(text, "Remove from this device");
    if (!failed) break;
  }
}

// --- Large selections ---

struct Calls {
  long attributes, lists, opens;
};

class LargeSelectionTest : public LibraryMenuTest {
 protected:
  LargeSelectionTest() { tree_.MarkRoot(L"root", kSelective); }

  std::wstring Item(int number) {
    const std::wstring name = L"root\\" + std::to_wstring(number);
    return number % 2 == 0 ? tree_.MakeFile(name + L".txt")
                           : tree_.MakePlaceholder(name + L".ghpl", kNotReceived);
  }

  Calls CallsForFirst(int count) {
    FakeDataObject selection({items_.begin(), items_.begin() + count});
    const MenuHandler handler(library_);
    handler.Select(&selection);
    const UniqueMenu menu(::CreatePopupMenu());
    const WatchedCalls calls(library_.Module(), {"GetFileAttributesW", "GlobalLock", "CreateFileW"});
    EXPECT_EQ(handler.Query(menu.Get()), 6);
    EXPECT_EQ(Letters(ItemsOf(menu.Get())), "SRa");
    const Calls made = {calls.Of("GetFileAttributesW"), calls.Of("GlobalLock"), calls.Of("CreateFileW")};
    handler.Select(nullptr);
    return made;
  }

  std::vector<std::wstring> items_;
};

TEST_F(LargeSelectionTest, AThousandItemsCostTenTimesAHundred) {
  for (int i = 0; i < 1000; ++i) items_.push_back(Item(i));
  const Calls two = CallsForFirst(2);
  const Calls hundred = CallsForFirst(100);
  const Calls thousand = CallsForFirst(1000);
  // The list is read once. Each item costs one attribute query and, every second one
  // being a placeholder, half of what one placeholder opens.
  EXPECT_EQ(thousand.lists, 1);
  EXPECT_EQ(thousand.attributes - hundred.attributes, 900);
  EXPECT_EQ((thousand.opens - hundred.opens) * 98, (hundred.opens - two.opens) * 900);
  EXPECT_LE(thousand.opens - hundred.opens, 900) << "more than two openings for a placeholder";
}

TEST_F(LargeSelectionTest, AThousandItemsAreSentInOrder) {
  FakeAgent agent(AgentKind::kService);
  for (int i = 0; i < 1000; ++i) items_.push_back(Item(i));
  FakeDataObject selection(items_);
  const MenuHandler handler(library_);
  handler.Select(&selection);
  const UniqueMenu menu(::CreatePopupMenu());
  EXPECT_EQ(handler.Query(menu.Get()), 6);
  EXPECT_EQ(handler.Invoke(4), S_OK);
  const auto batch = agent.NextBatch();
  ASSERT_TRUE(batch.has_value());
  ASSERT_EQ(batch->size(), 1000u);
  for (size_t i = 0; i < 1000; ++i) {
    const std::string end = std::to_string(i) + (i % 2 == 0 ? ".txte" : ".ghple");
    EXPECT_TRUE((*batch)[i].ends_with(end)) << (*batch)[i];
    EXPECT_EQ((*batch)[i].find("4:lasti1e") != std::string::npos, i == 999);
  }
}

// --- Many right-clicks ---

TEST_F(LibraryMenuTest, AHundredRightClicksLeaveNothingBehind) {
  tree_.MarkRoot(L"root", kSelective);
  const std::vector<std::wstring> items = {tree_.MakeFolder(L"root\\a"),
                                           tree_.MakePlaceholder(L"root\\b.ghpl", kReceiving)};
  MenuFor(items);
  const WatchedCalls heap(library_.Module(), kHeapCalls);
  const size_t gdiBefore = CountGdiHandles();
  for (int i = 0; i < 100; ++i) EXPECT_EQ(MenuFor(items), "SCRa");
  EXPECT_EQ(heap.Holds(Held::kBlock), 0);
  EXPECT_EQ(CountGdiHandles(), gdiBefore);
}

TEST_F(LibraryMenuTest, HundredsOfCommandsLeaveNothingBehind) {
  FakeAgent agent(AgentKind::kService);
  const MenuHandler handler(library_);
  const auto send = [&] {
    EXPECT_EQ(handler.Invoke(1), S_OK);
    EXPECT_EQ(agent.NextBatch(), PipeMessages{"d6:actioni7e5:filesle4:lasti1ee"});
  };
  send();
  ::Sleep(100);
  const WatchedCalls heap(library_.Module(), kHeapCalls);
  for (int i = 0; i < 200; ++i) send();
  for (int i = 0; i < 500 && heap.Holds(Held::kBlock) != 0; ++i) ::Sleep(10);
  EXPECT_EQ(heap.Holds(Held::kBlock), 0);
}

TEST_F(LibraryMenuTest, HandlersOfSeveralApartmentsDoNotDisturbOneAnother) {
  tree_.MarkRoot(L"root", kSelective);
  const std::wstring item = tree_.MakeFolder(L"root\\a");
  std::vector<std::thread> apartments;
  for (int i = 0; i < 4; ++i) {
    apartments.emplace_back([&] {
      for (int n = 0; n < 25; ++n) EXPECT_EQ(MenuFor({item}), "SRa");
    });
  }
  for (std::thread& apartment : apartments) apartment.join();
}

}  // namespace
}  // namespace veskard::test
