#include "shellext/contextmenu/DropBlock.h"

#include <gtest/gtest.h>
#include <windows.h>
// The shell's headers need the basic types first.
#include <shellapi.h>
#include <shlobj.h>

#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "tests/support/GuardedBuffer.h"
#include "tests/support/ImportPatch.h"
#include "tests/support/PageWatch.h"

namespace veskard {
namespace {

using test::GuardedBuffer;

constexpr size_t kLongest = 259;

// --- Blocks ---

std::string BytesOf(std::wstring_view text) {
  return std::string(reinterpret_cast<const char*>(text.data()), text.size() * sizeof(wchar_t));
}

std::string Header(DWORD offset, BOOL isWide) {
  DROPFILES header = {};
  header.pFiles = offset;
  header.fWide = isWide;
  std::string bytes(sizeof(header), '\0');
  std::memcpy(bytes.data(), &header, sizeof(header));
  return bytes;
}

std::string WideBlock(std::wstring_view names) {
  return Header(sizeof(DROPFILES), TRUE) + BytesOf(names);
}

std::string NarrowBlock(std::string_view names) {
  return Header(sizeof(DROPFILES), FALSE) + std::string(names);
}

// --- What is read of them ---

using Names = std::vector<std::wstring>;

Names Read(std::string_view bytes, size_t longest) {
  const DropBlock block(bytes);
  Names names;
  for (uint32_t i = 0; i < block.Count(); ++i) names.push_back(block.At(i, longest));
  EXPECT_EQ(block.At(block.Count(), longest), L"");
  EXPECT_EQ(block.At(0xFFFFFFFF, longest), L"");
  return names;
}

// A byte that is read in front of the block or behind it ends the program.
Names NamesOf(std::string_view bytes, size_t longest = kLongest) {
  const GuardedBuffer behind(bytes, GuardedBuffer::Guard::kBehind);
  const GuardedBuffer inFront(bytes, GuardedBuffer::Guard::kInFront);
  const Names names = Read(behind.View(), longest);
  EXPECT_EQ(Read(inFront.View(), longest), names);
  return names;
}

// The system's answers, where zeros follow the block.
Names SystemsNamesOf(std::string_view bytes, size_t longest) {
  const HGLOBAL memory = ::GlobalAlloc(GHND, bytes.size() + 8);
  std::memcpy(::GlobalLock(memory), bytes.data(), bytes.size());
  ::GlobalUnlock(memory);
  const auto drop = static_cast<HDROP>(memory);
  Names names(::DragQueryFileW(drop, 0xFFFFFFFF, nullptr, 0));
  std::vector<wchar_t> buffer(longest + 1);
  for (UINT i = 0; i < names.size(); ++i) {
    buffer[0] = L'\0';
    ::DragQueryFileW(drop, i, buffer.data(), static_cast<UINT>(buffer.size()));
    names[i] = buffer.data();
  }
  ::GlobalFree(memory);
  return names;
}

// --- The two forms ---

TEST(DropBlockTest, WideNamesStandOneBehindAnother) {
  EXPECT_EQ(NamesOf(WideBlock({L"C:\\a\0C:\\\u00E4\u20AC\0\0", 11})), (Names{L"C:\\a", L"C:\\\u00E4\u20AC"}));
}

TEST(DropBlockTest, NarrowNamesAreInTheSystemsCodePage) {
  EXPECT_EQ(NamesOf(NarrowBlock({"C:\\a\0C:\\bc\0\0", 12})), (Names{L"C:\\a", L"C:\\bc"}));
  wchar_t letter[3] = {};
  ::MultiByteToWideChar(CP_ACP, 0, "\xE4", 1, letter, 2);
  EXPECT_EQ(NamesOf(NarrowBlock({"\xE4\0\0", 3})), Names{letter});
}

using Conversion = test::FunctionPatch<decltype(::MultiByteToWideChar)>;
const Conversion* conversion = nullptr;

int WINAPI ConvertFromJapanese(UINT codePage, DWORD flags, const char* bytes, int size, wchar_t* text,
                               int room) {
  EXPECT_EQ(codePage, static_cast<UINT>(CP_ACP));
  return conversion->CallOriginal(UINT{932}, flags, bytes, size, text, room);
}

// The second byte of a character may look like a backslash.
TEST(DropBlockTest, ACharacterMayTakeTwoBytes) {
  const Conversion japanese(nullptr, "MultiByteToWideChar", &ConvertFromJapanese);
  conversion = &japanese;
  EXPECT_EQ(NamesOf(NarrowBlock({"C:\\\x95\x5C\0\x83\x41\0\0", 10})), (Names{L"C:\\\u8868", L"\u30A2"}));
  EXPECT_EQ(NamesOf(NarrowBlock({"\x95\x5C\x95\x5C\x95\x5C\0\0", 8}), 2), Names{L"\u8868\u8868"});
}

TEST(DropBlockTest, NamesMayBeginAnywhereInTheBlock) {
  const std::string names = BytesOf({L"a\0bc\0\0", 6});
  for (DWORD gap = 0; gap < 9; ++gap) {
    EXPECT_EQ(NamesOf(Header(sizeof(DROPFILES) + gap, TRUE) + std::string(gap, '?') + names),
              (Names{L"a", L"bc"}));
  }
  EXPECT_EQ(NamesOf(Header(16, TRUE) + names), (Names{L"\1", L"a", L"bc"})) << "and be taken for the header";
}

TEST(DropBlockTest, AnyNumberButZeroMeansWide) {
  EXPECT_EQ(NamesOf(Header(sizeof(DROPFILES), 0x100) + BytesOf({L"a\0\0", 3})), Names{L"a"});
}

// --- Ends and cuts ---

TEST(DropBlockTest, AnEmptyNameEndsTheList) {
  EXPECT_EQ(NamesOf(WideBlock({L"a\0\0b\0\0", 6})), Names{L"a"});
  EXPECT_EQ(NamesOf(NarrowBlock({"a\0\0b\0\0", 6})), Names{L"a"});
}

// Wine counts one empty name here.
TEST(DropBlockTest, AnEmptyFirstNameEndsItToo) {
  EXPECT_EQ(NamesOf(WideBlock({L"\0\0", 2})), Names());
  EXPECT_EQ(NamesOf(WideBlock({L"\0b\0\0", 4})), Names());
  EXPECT_EQ(NamesOf(NarrowBlock({"\0\0", 2})), Names());
}

TEST(DropBlockTest, LongNamesAreCut) {
  const std::wstring name(260, L'x');
  EXPECT_EQ(NamesOf(WideBlock(name.substr(1) + L'\0' + name + L'\0')),
            (Names{name.substr(1), name.substr(1)}));
  const std::string narrow(260, 'x');
  EXPECT_EQ(NamesOf(NarrowBlock(narrow.substr(1) + '\0' + narrow + '\0')),
            (Names{name.substr(1), name.substr(1)}));
  EXPECT_EQ(NamesOf(WideBlock(std::wstring(40000, L'x')), 32770), Names{std::wstring(32770, L'x')});
  EXPECT_EQ(NamesOf(NarrowBlock(std::string(200000, 'x')), 32770), Names{std::wstring(32770, L'x')});
}

TEST(DropBlockTest, ACutMaySplitACharacter) {
  EXPECT_EQ(NamesOf(WideBlock({L"a\xD83D\xDE00\0\0", 5}), 2), Names{L"a\xD83D"});
}

// --- Blocks that whoever made them did not mean ---

TEST(DropBlockTest, ABlockWithoutRoomForTheHeaderHasNoNames) {
  const std::string whole = Header(0, TRUE);
  for (size_t size = 0; size < whole.size(); ++size)
    EXPECT_EQ(NamesOf(whole.substr(0, size)), Names()) << size;
  EXPECT_EQ(DropBlock().Count(), 0u);
  EXPECT_EQ(DropBlock().At(0, kLongest), L"");
}

TEST(DropBlockTest, NamesThatBeginAtTheEndOrBehindItAreNone) {
  const std::string names = BytesOf({L"a\0\0", 3});
  for (const DWORD offset : {26u, 27u, 28u, 4096u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFEu, 0xFFFFFFFFu}) {
    EXPECT_EQ(NamesOf(Header(offset, TRUE) + names), Names()) << offset;
    EXPECT_EQ(NamesOf(Header(offset, FALSE) + names), Names()) << offset;
  }
}

TEST(DropBlockTest, TheLastNameMayEndWithTheBlock) {
  EXPECT_EQ(NamesOf(WideBlock({L"a\0bc", 4})), (Names{L"a", L"bc"}));
  EXPECT_EQ(NamesOf(WideBlock({L"a\0bc\0", 5})), (Names{L"a", L"bc"}));
  EXPECT_EQ(NamesOf(NarrowBlock({"a\0bc", 4})), (Names{L"a", L"bc"}));
  EXPECT_EQ(NamesOf(NarrowBlock({"a\0bc\0", 5})), (Names{L"a", L"bc"}));
}

TEST(DropBlockTest, HalfACharacterAtTheEndIsNone) {
  EXPECT_EQ(NamesOf(WideBlock(L"ab") + 'c'), Names{L"ab"});
  EXPECT_EQ(NamesOf(WideBlock({L"ab\0", 3}) + 'c'), Names{L"ab"});
  EXPECT_EQ(NamesOf(WideBlock(L"") + 'c'), Names());
}

// --- Any block ---

class RandomBlocks {
 public:
  explicit RandomBlocks(uint32_t seed) : random_(seed) {}

  // As a shell makes it: names, the empty one, and what happened to lie behind.
  std::string Next() {
    const bool isWide = Below(2) == 0;
    const uint32_t gap = Below(4) == 0 ? Below(9) : 0;
    std::string block = Header(sizeof(DROPFILES) + gap, isWide) + Noise(gap);
    for (uint32_t count = Below(12); count > 0; --count) block += isWide ? BytesOf(WideName()) : NarrowName();
    block += std::string(isWide ? 2 : 1, '\0');
    return Below(3) == 0 ? block + Noise(Below(20)) : block;
  }

  // Cut off, with other bytes in it, or with another beginning.
  std::string NextDamaged() {
    std::string block = Next();
    if (Below(2) == 0) block.resize(Below(static_cast<uint32_t>(block.size()) + 1));
    for (uint32_t hits = Below(4); hits > 0 && !block.empty(); --hits)
      block[Below(static_cast<uint32_t>(block.size()))] = static_cast<char>(Below(256));
    if (Below(3) == 0 && block.size() >= sizeof(DROPFILES)) block[0] = static_cast<char>(Below(256));
    return block;
  }

  uint32_t Below(uint32_t end) { return random_() % end; }

 private:
  // Mostly short; now and then longer than what is asked for.
  uint32_t Length() { return Below(16) == 0 ? 250 + Below(20) : 1 + Below(30); }

  std::wstring WideName() {
    std::wstring name;
    for (uint32_t length = Length(); length > 0; --length) {
      name += static_cast<wchar_t>(Below(4) == 0 ? 1 + Below(0xFFFF) : L' ' + Below(95));
    }
    return name + L'\0';
  }

  std::string NarrowName() {
    std::string name;
    for (uint32_t length = Length(); length > 0; --length) {
      name += static_cast<char>(Below(3) == 0 ? 1 + Below(255) : ' ' + Below(95));
    }
    return name + '\0';
  }

  std::string Noise(uint32_t size) {
    std::string bytes;
    while (size-- > 0) bytes += static_cast<char>(Below(256));
    return bytes;
  }

  std::mt19937 random_;
};

bool HasHeader(const std::string& block) {
  return block.size() >= sizeof(DROPFILES);
}

// The system is not asked where it would read outside the block, and it gets no half of a
// character.
Names ExpectedNames(const std::string& block, size_t longest) {
  if (!HasHeader(block)) return {};
  DROPFILES header;
  std::memcpy(&header, block.data(), sizeof(header));
  if (header.pFiles > block.size()) return {};
  const size_t half = header.fWide ? (block.size() - header.pFiles) % sizeof(wchar_t) : 0;
  const Names systems = SystemsNamesOf(block.substr(0, block.size() - half), longest);
  const bool beginsEmpty = !systems.empty() && systems[0].empty();  // which Wine counts
  return beginsEmpty ? Names() : systems;
}

constexpr size_t kLimits[] = {259, 259, 32770, 1, 5};

TEST(DropBlockTest, GivesTheNamesThatTheSystemGives) {
  RandomBlocks random(1);
  for (int i = 0; i < 5000 && !HasFailure(); ++i) {
    SCOPED_TRACE(i);
    const std::string block = random.Next();
    const size_t longest = kLimits[random.Below(std::size(kLimits))];
    EXPECT_EQ(NamesOf(block, longest), ExpectedNames(block, longest));
  }
}

TEST(DropBlockTest, GivesTheNamesOfDamagedBlocksAsIfZerosFollowed) {
  RandomBlocks random(2);
  for (int i = 0; i < 20000 && !HasFailure(); ++i) {
    SCOPED_TRACE(i);
    const std::string block = random.NextDamaged();
    const size_t longest = kLimits[random.Below(std::size(kLimits))];
    EXPECT_EQ(NamesOf(block, longest), ExpectedNames(block, longest));
  }
}

// The run in Japanese (drop_block_tests_in_japanese) would say nothing in another code page.
TEST(DropBlockTest, TheRunInJapaneseHasTwoBytesForACharacter) {
  const char* const locale = std::getenv("LC_ALL");
  if (locale != nullptr && std::string(locale) == "ja_JP.UTF-8") {
    EXPECT_EQ(::GetACP(), 932u);
  }
}

// --- One pass ---

size_t PagesComeTo(size_t count) {
  std::wstring names;
  for (size_t i = 0; i < count; ++i) names += std::wstring(2047, L'x') + L'\0';  // a page each
  const test::PageWatch watch(WideBlock(names));
  EXPECT_EQ(Read(watch.View(), 2047), Names(count, std::wstring(2047, L'x')));
  return watch.Arrivals();
}

TEST(DropBlockTest, SixteenThousandNamesCostAThousandTimesWhatSixteenCost) {
  const size_t few = PagesComeTo(16);
  EXPECT_GE(few, 32u) << "each page once for its place, and once for its name";
  EXPECT_LE(few, 36u);
  EXPECT_NEAR(static_cast<double>(PagesComeTo(16000)), 1000.0 * static_cast<double>(few),
              100.0 * static_cast<double>(few));
}

}  // namespace
}  // namespace veskard
