// Choosing a command: what the agent receives, byte for byte.
#include <chrono>

#include "core/WindowsOwners.h"
#include "tests/shellext/contextmenu/LibraryMenu.h"
#include "tests/support/Patched.h"
#include "tests/support/WatchedCalls.h"
#include "util/string/CodePage.h"

namespace veskard::test {
namespace {

using namespace std::chrono_literals;

// Has an agent that reads, in place of the mutex alone.
class LibraryCommandTest : public LibraryMenuTest {
 protected:
  LibraryCommandTest() { tree_.MarkRoot(L"root", kSelectiveRemovable); }

  // Right-clicks the items and chooses a command; returns what arrived.
  std::optional<PipeMessages> Choose(const std::vector<std::wstring>& items, UINT_PTR offset) {
    const MenuHandler handler(library_);
    FakeDataObject selection(items);
    handler.Select(&selection);
    const UniqueMenu menu(::CreatePopupMenu());
    EXPECT_EQ(handler.Query(menu.Get()), 6);
    EXPECT_EQ(handler.Invoke(offset), S_OK);
    handler.Select(nullptr);
    return agent_.NextBatch();
  }

  static std::string Message(int action, const std::wstring& path, bool last) {
    const std::string bytes = Utf8FromWide(path);
    return "d6:actioni" + std::to_string(action) + "e" + (last ? "4:lasti1e" : "") + "4:path" +
           std::to_string(bytes.size()) + ":" + bytes + "e";
  }

  FakeAgent agent_{AgentKind::kService};
};

TEST_F(LibraryCommandTest, EachOffsetHasItsAction) {
  const std::wstring item = tree_.MakeFile(L"root\\a.txt");
  EXPECT_EQ(Choose({item}, 2), PipeMessages{Message(3, item, true)});
  EXPECT_EQ(Choose({item}, 3), PipeMessages{Message(4, item, true)});
  EXPECT_EQ(Choose({item}, 4), PipeMessages{Message(5, item, true)});
  EXPECT_EQ(Choose({item}, 5), PipeMessages{Message(6, item, true)});
}

TEST_F(LibraryCommandTest, ThreeItemsAreThreeMessagesOfWhichTheThirdIsTheLast) {
  const std::vector<std::wstring> items = {tree_.MakeFile(L"root\\a.txt"), tree_.MakeFile(L"root\\b.txt"),
                                           tree_.MakeFile(L"root\\c.txt")};
  EXPECT_EQ(Choose(items, 4), (PipeMessages{Message(5, items[0], false), Message(5, items[1], false),
                                            Message(5, items[2], true)}));
}

TEST_F(LibraryCommandTest, SharingIsOneMessageWhateverTheNumberOfItems) {
  const std::vector<std::wstring> items = {tree_.MakeFile(L"root\\a.txt"), tree_.MakeFile(L"root\\b.txt")};
  const auto entry = [](const std::wstring& path) {
    return std::to_string(path.size()) + ":" + Utf8FromWide(path);
  };
  EXPECT_EQ(Choose(items, 1),
            PipeMessages{"d6:actioni7e5:filesl" + entry(items[0]) + entry(items[1]) + "e4:lasti1ee"});
}

TEST_F(LibraryCommandTest, ItemsThatAreGoneAreSentAllTheSame) {
  const std::vector<std::wstring> items = {tree_.MakeFile(L"root\\a.txt"), tree_.Path(L"root\\gone.txt")};
  EXPECT_EQ(Choose(items, 2), (PipeMessages{Message(3, items[0], false), Message(3, items[1], true)}));
}

TEST_F(LibraryCommandTest, PathsBeyondAsciiAreSentAsUtf8) {
  const std::wstring item = tree_.MakeFile(L"root\\\u00E4\u20AC\U0001F600.txt");
  const auto received = Choose({item}, 2);
  EXPECT_EQ(received, PipeMessages{Message(3, item, true)});
  EXPECT_NE(received->at(0).find("\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80.txt"), std::string::npos);
}

TEST_F(LibraryCommandTest, PathsLongerThanTheMenuReadsAreSentWhole) {
  const std::wstring first = tree_.MakeFile(L"root\\a.txt");
  const std::wstring longest = L"C:\\" + std::wstring(32764, L'x');
  EXPECT_EQ(Choose({first, longest}, 2), (PipeMessages{Message(3, first, false), Message(3, longest, true)}));
}

TEST_F(LibraryCommandTest, APathOnAMappedDriveIsSentInItsUncForm) {
  const Patched<&::GetDriveTypeW> types(library_.Module(), "GetDriveTypeW", [](auto, LPCWSTR root) -> UINT {
    return root[0] == L'Z' ? DRIVE_REMOTE : DRIVE_FIXED;
  });
  const Patched<&::WNetGetUniversalNameW> mapped(
      library_.Module(), "WNetGetUniversalNameW",
      [](auto, LPCWSTR path, DWORD, void* buffer, DWORD* size) -> DWORD {
        if (path[0] != L'Z') return ERROR_NOT_CONNECTED;
        const std::wstring text = std::wstring(L"\\\\server\\share") + (path + 2);
        auto* const info = static_cast<UNIVERSAL_NAME_INFOW*>(buffer);
        info->lpUniversalName = reinterpret_cast<wchar_t*>(info + 1);
        info->lpUniversalName[text.copy(info->lpUniversalName, text.size())] = L'\0';
        *size = static_cast<DWORD>(sizeof(*info) + (text.size() + 1) * sizeof(wchar_t));
        return NO_ERROR;
      });
  const std::wstring local = tree_.MakeFile(L"root\\a.txt");
  EXPECT_EQ(Choose({local, L"Z:\\b.txt"}, 2),
            (PipeMessages{Message(3, local, false), Message(3, L"\\\\server\\share\\b.txt", true)}));
}

TEST_F(LibraryCommandTest, BeforeTheMenuIsBuiltNoPathIsSent) {
  FakeDataObject selection({tree_.MakeFile(L"root\\a.txt")});
  const MenuHandler handler(library_);
  handler.Select(&selection);
  EXPECT_EQ(handler.Invoke(2), S_OK);
  EXPECT_EQ(agent_.NextBatch(), PipeMessages{});
  EXPECT_EQ(handler.Invoke(1), S_OK);
  EXPECT_EQ(agent_.NextBatch(), PipeMessages{"d6:actioni7e5:filesle4:lasti1ee"});
  EXPECT_EQ(selection.ListsGiven(), 0);
}

TEST_F(LibraryCommandTest, AfterASelectionThatCouldNotBeReadNoPathIsSent) {
  FakeDataObject selection({tree_.MakeFile(L"root\\a.txt")});
  const MenuHandler handler(library_);
  handler.Select(&selection);
  const UniqueMenu menu(::CreatePopupMenu());
  EXPECT_EQ(handler.Query(menu.Get()), 6);
  selection.AnswerWith(E_FAIL, {});
  EXPECT_EQ(handler.Query(menu.Get()), E_NOTIMPL);
  EXPECT_EQ(handler.Invoke(2), S_OK);
  EXPECT_EQ(agent_.NextBatch(), PipeMessages{});
}

TEST_F(LibraryCommandTest, TheSelectionIsTheOneThatTheMenuWasBuiltFor) {
  const std::wstring item = tree_.MakeFile(L"root\\a.txt");
  FakeDataObject selection({item});
  const MenuHandler handler(library_);
  handler.Select(&selection);
  const UniqueMenu menu(::CreatePopupMenu());
  handler.Query(menu.Get());
  handler.Select(nullptr);
  EXPECT_EQ(handler.Invoke(2), S_OK);
  EXPECT_EQ(agent_.NextBatch(), PipeMessages{Message(3, item, true)});
}

TEST_F(LibraryCommandTest, AnythingButTheFiveOffsetsIsRefused) {
  const MenuHandler handler(library_);
  constexpr UINT_PTR kUpperHalf = UINT_PTR{1} << (4 * sizeof(UINT_PTR));
  for (const UINT_PTR verb :
       {UINT_PTR{0}, UINT_PTR{6}, UINT_PTR{0x10002}, kUpperHalf + 2, static_cast<UINT_PTR>(-1)}) {
    EXPECT_EQ(handler.Invoke(verb), E_INVALIDARG) << verb;
  }
  EXPECT_EQ(agent_.NextBatch(200ms), std::nullopt);
}

TEST_F(LibraryCommandTest, VerbsByNameAreRefused) {
  const MenuHandler handler(library_);
  EXPECT_EQ(handler.Invoke("open"), E_INVALIDARG);
  EXPECT_EQ(handler.Invoke("Sync to this device"), E_INVALIDARG);
  EXPECT_EQ(handler.Invoke(""), E_INVALIDARG);
}

TEST_F(LibraryCommandTest, NothingIsWrittenToTheLog) {
  const std::wstring item = tree_.MakeFile(L"root\\a.txt");
  FakeDataObject selection({item});
  const MenuHandler handler(library_);
  handler.Select(&selection);
  const UniqueMenu menu(::CreatePopupMenu());
  handler.Query(menu.Get());
  log_.NewLines();
  handler.Invoke(2);
  handler.Invoke("open");
  char text[50];
  handler.Menu()->GetCommandString(2, GCS_HELPTEXTA, nullptr, text, 50);
  EXPECT_TRUE(agent_.NextBatch().has_value());
  handler.Select(nullptr);
  EXPECT_EQ(log_.NewLines(), std::vector<std::wstring>{});
}

TEST_F(LibraryCommandTest, AThreadThatTheSystemRefusesIsAFailureCode) {
  const MenuHandler handler(library_);
  const FailingCall refusal("CreateThread", ERROR_NOT_ENOUGH_MEMORY, 1, library_.Module());
  EXPECT_EQ(handler.Invoke(2), HRESULT_FROM_WIN32(ERROR_NOT_ENOUGH_MEMORY));
  EXPECT_EQ(agent_.NextBatch(200ms), std::nullopt);
}

TEST_F(LibraryMenuTest, WithoutAnAgentNoThreadIsStarted) {
  const WatchedCalls calls(library_.Module(), {"CreateThread"});
  const MenuHandler handler(library_);
  service_ = FakeAgentMutex(AgentKind::kUser);
  EXPECT_EQ(handler.Invoke(2), S_OK);
  EXPECT_EQ(calls.Of("CreateThread"), 0);
}

TEST_F(LibraryMenuTest, AnAgentWithoutAPipeIsNoTrouble) {
  const MenuHandler handler(library_);
  EXPECT_EQ(handler.Invoke(2), S_OK);
}

}  // namespace
}  // namespace veskard::test
