#include "fs/util/Security.h"

#include <windows.h>

#include <aclapi.h>
#include <gtest/gtest.h>
#include <sddl.h>

#include <algorithm>
#include <stdexcept>

#include "tests/support/FileTools.h"
#include "tests/support/Patched.h"
#include "tests/support/ScratchFolder.h"
#include "tests/support/WatchedCalls.h"

namespace veskard {
namespace {

using test::FailedCall;
using test::Faults;
using test::Patched;

constexpr wchar_t kAdministrators[] = L"S-1-5-32-544";
constexpr wchar_t kSystem[] = L"S-1-5-18";

std::wstring Expanded(std::wstring text) {
  EXPECT_TRUE(ExpandAccountAliases(text));
  return text;
}

std::wstring Stripped(std::wstring text) {
  EXPECT_TRUE(StripInheritedDuplicates(text));
  return text;
}

// ---- Aliases in access lists.

// What a rewrite makes of a text.
struct RewriteRow {
  const char* name;
  const wchar_t* text;
  const wchar_t* rewritten;
};

TEST(ExpandAccountAliasesTest, AliasesBecomeFullSids) {
  const RewriteRow rows[] = {
      {"an alias", L"D:(A;;FA;;;BA)", L"D:(A;;FA;;;S-1-5-32-544)"},
      {"a full SID stays", L"D:(A;;FA;;;S-1-5-21-1-2-3-1001)", L"D:(A;;FA;;;S-1-5-21-1-2-3-1001)"},
      {"every entry", L"D:PAI(A;OICI;FA;;;SY)(D;;FX;;;WD)(A;OICIID;0x1200a9;;;BA)",
       L"D:PAI(A;OICI;FA;;;S-1-5-18)(D;;FX;;;S-1-1-0)(A;OICIID;0x1200a9;;;S-1-5-32-544)"},
      {"repeated aliases, from the front", L"D:(A;;FA;;;BA)(D;;FR;;;BA)",
       L"D:(A;;FA;;;S-1-5-32-544)(D;;FR;;;S-1-5-32-544)"},
      {"a full SID in front of an alias", L"D:(A;;FA;;;S-1-5-18)(A;;FR;;;WD)",
       L"D:(A;;FA;;;S-1-5-18)(A;;FR;;;S-1-1-0)"},
      {"an empty list", L"D:", L"D:"},
      {"an empty protected list", L"D:P", L"D:P"},
  };
  for (const RewriteRow& row : rows) EXPECT_EQ(Expanded(row.text), row.rewritten) << row.name;
}

TEST(ExpandAccountAliasesTest, AnAliasInAnotherFieldIsReplacedFirstAndSpoilsTheText) {
  // "RC" is both the right to read the descriptor and the account "restricted code".
  std::wstring text = L"D:(A;;RC;;;RC)";
  EXPECT_FALSE(ExpandAccountAliases(text));
  EXPECT_EQ(text, L"D:(A;;RC;;;RC)");
}

TEST(ExpandAccountAliasesTest, TextThatIsNoDescriptorIsKept) {
  for (const wchar_t* text : {L"nonsense", L"D:(A;;FA;;;QQ)", L"D:(A;;FA;;BA)", L"(A;;FA;;;BA"}) {
    std::wstring kept = text;
    EXPECT_FALSE(ExpandAccountAliases(kept)) << text;
    EXPECT_EQ(kept, text);
  }
}

TEST(ExpandAccountAliasesTest, AnUnknownAliasIsLeftAlone) {
  std::wstring text = L"D:(A;;FA;;;ZZ)(A;;FA;;;BA)";
  ExpandAccountAliases(text);
  EXPECT_NE(text.find(L"ZZ"), std::wstring::npos);
}

TEST(ExpandAccountAliasesTest, TextLongerThanTheStackIsDeep) {
  std::wstring text = L"D:(" + std::wstring(300000, L'x');
  EXPECT_FALSE(ExpandAccountAliases(text));
  std::wstring many = L"D:";
  for (int i = 0; i < 1500; ++i) many += L"(A;;FA;;;WD)";
  EXPECT_TRUE(ExpandAccountAliases(many));
  EXPECT_EQ(many.find(L"WD"), std::wstring::npos);
}

// ---- Owner and group.

TEST(ExpandOwnerAliasTest, AnAliasBecomesItsFullSid) {
  EXPECT_EQ(ExpandOwnerAlias(L"O:BA"), std::wstring(L"O:") + kAdministrators);
  EXPECT_EQ(ExpandOwnerAlias(L"G:SY"), std::wstring(L"G:") + kSystem);
}

TEST(ExpandOwnerAliasTest, WhatIsNoAliasStays) {
  for (const wchar_t* text : {L"O:S-1-5-21-1-2-3-1001", L"G:S-1-5-18", L"O:QQ", L"O:", L"G:nonsense"}) {
    EXPECT_EQ(ExpandOwnerAlias(text), text);
  }
}

TEST(ExpandOwnerAliasTest, FewerThanTwoCharactersAreOutOfRange) {
  EXPECT_THROW(ExpandOwnerAlias(L""), std::out_of_range);
  EXPECT_THROW(ExpandOwnerAlias(L"O"), std::out_of_range);
}

// ---- Inherited duplicates.

TEST(StripInheritedDuplicatesTest, InheritedCopiesGoAndTheRestIsExpanded) {
  const RewriteRow rows[] = {
      {"a copy of an allow entry", L"D:(A;;FA;;;BA)(A;ID;FA;;;BA)", L"D:(A;;FA;;;S-1-5-32-544)"},
      {"a copy of a deny entry", L"D:(D;;FA;;;BA)(D;ID;FA;;;BA)", L"D:(D;;FA;;;S-1-5-32-544)"},
      {"of two neighbouring copies the second stays untouched", L"D:(A;;FA;;;BA)(A;ID;FA;;;BA)(A;ID;FA;;;BA)",
       L"D:(A;;FA;;;S-1-5-32-544)(A;ID;FA;;;S-1-5-32-544)"},
      {"of three neighbouring copies the middle one stays",
       L"D:(A;;FA;;;BA)(A;ID;FA;;;BA)(A;ID;FA;;;BA)(A;ID;FA;;;BA)",
       L"D:(A;;FA;;;S-1-5-32-544)(A;ID;FA;;;S-1-5-32-544)"},
      {"an inherited entry without a twin becomes explicit", L"D:(A;;FA;;;BA)(A;ID;FA;;;SY)",
       L"D:(A;;FA;;;S-1-5-32-544)(A;;FA;;;S-1-5-18)"},
      {"other flags must agree once the inherited one is cleared", L"D:(A;OICI;FA;;;WD)(A;OICIID;FA;;;WD)",
       L"D:(A;OICI;FA;;;S-1-1-0)"},
      {"an explicit entry behind its copy counts as well", L"D:(A;ID;FA;;;BA)(A;ID;FR;;;SY)(A;;FA;;;BA)",
       L"D:(A;ID;FR;;;S-1-5-18)(A;;FA;;;S-1-5-32-544)"},
      {"two copies without an explicit entry both stay", L"D:(A;ID;FA;;;BA)(A;ID;FA;;;BA)",
       L"D:(A;;FA;;;S-1-5-32-544)(A;;FA;;;S-1-5-32-544)"},
      {"a list without inherited entries is only expanded", L"D:(A;;FA;;;BA)(A;;FA;;;BA)",
       L"D:(A;;FA;;;S-1-5-32-544)(A;;FA;;;S-1-5-32-544)"},
      {"a descriptor without a list is unchanged", L"O:BA", L"O:BA"},
      {"no text is unchanged", L"", L""},
  };
  for (const RewriteRow& row : rows) EXPECT_EQ(Stripped(row.text), row.rewritten) << row.name;
}

TEST(StripInheritedDuplicatesTest, ADifferenceInTypeFlagsMaskOrAccountIsNoTwin) {
  for (const wchar_t* inherited :
       {L"(D;ID;FA;;;BA)", L"(A;CIID;FA;;;BA)", L"(A;ID;FR;;;BA)", L"(A;ID;FA;;;SY)"}) {
    const std::wstring result = Stripped(std::wstring(L"D:(A;;FA;;;BA)") + inherited);
    EXPECT_EQ(std::count(result.begin(), result.end(), L'('), 2) << inherited;
  }
}

TEST(StripInheritedDuplicatesTest, AnUnparsableTextIsRefusedAndKept) {
  for (const wchar_t* text : {L"nonsense", L"D:(A;;FA", L"D:(A;ID;FA;;;QQ)"}) {
    std::wstring kept = text;
    EXPECT_FALSE(StripInheritedDuplicates(kept)) << text;
    EXPECT_EQ(kept, text);
  }
}

TEST(StripInheritedDuplicatesTest, AnAbsentDefaultedOrNullListComesBackUnchanged) {
  const std::wstring text = L"D:(A;;FA;;;BA)(A;ID;FA;;;BA)";
  struct Row {
    BOOL present, defaulted;
    bool null, isStripped;
  };
  for (const Row& row : {Row{FALSE, FALSE, false, false}, Row{TRUE, TRUE, false, false},
                         Row{TRUE, FALSE, true, false}, Row{TRUE, FALSE, false, true}}) {
    const Patched<&::GetSecurityDescriptorDacl> said(
        "GetSecurityDescriptorDacl",
        [&](auto original, auto descriptor, LPBOOL present, PACL* list, LPBOOL defaulted) {
          const BOOL result = original(descriptor, present, list, defaulted);
          *present = row.present, *defaulted = row.defaulted;
          if (row.null) *list = nullptr;
          return result;
        });
    EXPECT_EQ(Stripped(text) != text, row.isStripped);
  }
}

// An entry that is neither allow nor deny: type and flags alone make it a twin.
TEST(StripInheritedDuplicatesTest, ForOtherEntryTypesTypeAndFlagsAloneDecide) {
  const Patched<&::GetSecurityDescriptorDacl> audit(
      "GetSecurityDescriptorDacl",
      [](auto original, auto descriptor, auto present, PACL* list, auto defaulted) {
        const BOOL result = original(descriptor, present, list, defaulted);
        for (DWORD index = 0; index < (*list)->AceCount; ++index) {
          void* entry = nullptr;
          ::GetAce(*list, index, &entry);
          static_cast<ACE_HEADER*>(entry)->AceType = SYSTEM_AUDIT_ACE_TYPE;
        }
        return result;
      });
  const std::wstring result = Stripped(L"D:(A;;FA;;;BA)(A;ID;FR;;;SY)(A;CIID;FR;;;SY)");
  EXPECT_EQ(std::count(result.begin(), result.end(), L'('), 2) << result.size();
}

// ---- Reading.

class ReadSecurityStringsTest : public testing::Test {
 protected:
  test::ScratchFolder folder_;
  const std::wstring path_ = folder_ / L"file";
  SecurityStrings strings_{L"old owner", L"old group", L"old list"};

  void SetUp() override { test::WriteBytes(path_, "x"); }
};

TEST_F(ReadSecurityStringsTest, GivesCanonicalTexts) {
  ASSERT_EQ(ReadSecurityStrings(path_, strings_), 0u);
  EXPECT_TRUE(strings_.owner.starts_with(L"O:S-1-"));
  EXPECT_TRUE(strings_.group.starts_with(L"G:S-1-"));
  EXPECT_TRUE(strings_.accessList.starts_with(L"D:"));
  EXPECT_NE(strings_.accessList.find(L";;;S-1-"), std::wstring::npos);
}

TEST_F(ReadSecurityStringsTest, AMissingPathGivesTheErrorAndFillsNothing) {
  EXPECT_EQ(ReadSecurityStrings(folder_ / L"missing", strings_), 2u);
  EXPECT_EQ(strings_.owner, L"old owner");
  EXPECT_EQ(strings_.group, L"old group");
  EXPECT_EQ(strings_.accessList, L"old list");
}

TEST_F(ReadSecurityStringsTest, AFailedConversionStopsTheChain) {
  for (const size_t failing : {1u, 2u, 3u}) {
    strings_ = {L"old owner", L"old group", L"old list"};
    const test::FailingCall call("ConvertSecurityDescriptorToStringSecurityDescriptorW", 1337, failing);
    EXPECT_EQ(ReadSecurityStrings(path_, strings_), 1337u);
    EXPECT_EQ(Faults::Requests(), failing);
    EXPECT_EQ(strings_.accessList.empty(), failing == 1);
    EXPECT_EQ(strings_.owner.empty(), failing <= 2);
    EXPECT_EQ(strings_.group, L"");
  }
}

TEST_F(ReadSecurityStringsTest, ADescriptorWithoutOwnerAndGroupGivesNoneOrAnError) {
  const Patched<&::GetNamedSecurityInfoW> empty(
      "GetNamedSecurityInfoW", [](auto, auto, auto, auto, auto, auto, auto, auto, auto* descriptor) {
        *descriptor = ::LocalAlloc(LMEM_ZEROINIT, SECURITY_DESCRIPTOR_MIN_LENGTH);
        EXPECT_TRUE(::InitializeSecurityDescriptor(*descriptor, SECURITY_DESCRIPTOR_REVISION));
        return DWORD{ERROR_SUCCESS};
      });
  const uint32_t error = ReadSecurityStrings(path_, strings_);
  EXPECT_TRUE(strings_.owner.empty());
  EXPECT_TRUE(strings_.group.empty());
  if (error == 0) {
    EXPECT_TRUE(strings_.accessList == L"" || strings_.accessList == L"D:NO_ACCESS_CONTROL");
  }
}

TEST_F(ReadSecurityStringsTest, AsksForOwnerGroupAndList) {
  SECURITY_INFORMATION asked = 0;
  SE_OBJECT_TYPE type = SE_UNKNOWN_OBJECT_TYPE;
  const Patched<&::GetNamedSecurityInfoW> seen(
      "GetNamedSecurityInfoW", [&](auto, auto, SE_OBJECT_TYPE t, SECURITY_INFORMATION what, auto...) {
        type = t, asked = what;
        return DWORD{ERROR_ACCESS_DENIED};
      });
  EXPECT_EQ(ReadSecurityStrings(path_, strings_), 5u);
  EXPECT_EQ(asked, 7u);
  EXPECT_EQ(type, SE_FILE_OBJECT);
}

// ---- Every call failing in turn.

TEST(SecurityFailureTest, EveryRewriteSurvivesEveryFailingCall) {
  test::WatchedCalls calls{"ConvertStringSidToSidW",
                           "ConvertSidToStringSidW",
                           "ConvertStringSecurityDescriptorToSecurityDescriptorW",
                           "ConvertSecurityDescriptorToStringSecurityDescriptorW",
                           "GetSecurityDescriptorDacl",
                           "GetAce",
                           "DeleteAce",
                           "EqualSid"};
  const std::wstring original = L"D:(A;;FA;;;BA)(A;ID;FA;;;BA)(A;ID;FR;;;WD)";
  std::wstring text;
  bool done = false;

  const size_t expandCalls =
      calls.FailEach([&] { text = original; }, [&] { done = ExpandAccountAliases(text); },
                     [&](const FailedCall& failed) {
                       const bool parsing = failed.Is("ConvertStringSecurityDescriptorToSecurityDescriptorW");
                       EXPECT_EQ(done, !parsing) << failed;
                       if (parsing) {
                         EXPECT_EQ(text, original) << failed;
                       }
                       // An unknown account keeps its alias, and the text stays valid.
                       if (failed.Is("ConvertStringSidToSidW")) {
                         EXPECT_NE(text, original) << failed;
                       }
                     });
  EXPECT_EQ(expandCalls, 7u);

  const size_t stripCalls =
      calls.FailEach([&] { text = original; }, [&] { done = StripInheritedDuplicates(text); },
                     [&](const FailedCall& failed) {
                       const bool keeps = failed.number == 1 ||
                                          failed.Is("ConvertSecurityDescriptorToStringSecurityDescriptorW");
                       EXPECT_EQ(done, !keeps) << failed;
                       if (keeps || failed.Is("GetSecurityDescriptorDacl")) {
                         EXPECT_EQ(text, original) << failed;
                       }
                     });
  EXPECT_GE(stripCalls, 12u);
}

}  // namespace
}  // namespace veskard
