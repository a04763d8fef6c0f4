#include "lang/LanguageCode.h"

#include <gtest/gtest.h>

namespace veskard {
namespace {

const std::vector<std::string> kShippedMembers = {"version",
                                                  "english.txt",
                                                  "Chinese (China)!zhCN.txt",
                                                  "Dutch!nl.txt",
                                                  "French!fr.txt",
                                                  "German!de.txt",
                                                  "Italian!it.txt",
                                                  "Japanese!ja.txt",
                                                  "Korean!ko.txt",
                                                  "Portuguese (Brazil)!ptBR.txt",
                                                  "Russian!ru.txt",
                                                  "Spanish (Traditional)!esES.txt"};

std::string MemberFor(std::string_view language, std::string_view country) {
  return ChooseMember(kShippedMembers, CodesOfUser(language, country));
}

TEST(PackLanguageCodeTest, FirstLetterIsTheLowestByte) {
  EXPECT_EQ(PackLanguageCode("de"), 0x00006564u);
  EXPECT_EQ(PackLanguageCode("deDE"), 0x45446564u);
  EXPECT_EQ(PackLanguageCode(""), 0u);
}

TEST(PackLanguageCodeTest, LanguageWithCountryIsAnotherCode) {
  EXPECT_NE(PackLanguageCode("de"), PackLanguageCode("deDE"));
}

TEST(CodeOfMemberTest, StandsBetweenExclamationMarkAndExtension) {
  EXPECT_EQ(CodeOfMember("German!de.txt"), PackLanguageCode("de"));
  EXPECT_EQ(CodeOfMember("Portuguese (Brazil)!ptBR.txt"), PackLanguageCode("ptBR"));
}

TEST(CodeOfMemberTest, OtherNamesHaveNone) {
  for (const char* name :
       {"version", "english.txt", "German.txt", "German!.txt", "German!d.txt", "German!deu.txt",
        "German!deDE1.txt", "German!d1.txt", "German!de", "German!de.TXT", "!", ".txt", ""}) {
    EXPECT_EQ(CodeOfMember(name), 0u) << name;
  }
}

TEST(CodesOfUserTest, FullCodeIsLanguageAndCountry) {
  const LanguageCodes codes = CodesOfUser("de", "AT");
  EXPECT_EQ(codes.full, PackLanguageCode("deAT"));
  EXPECT_EQ(codes.languageOnly, PackLanguageCode("de"));
}

TEST(CodesOfUserTest, LongerNamesAreCut) {
  const LanguageCodes codes = CodesOfUser("fil", "PHL");
  EXPECT_EQ(codes.full, PackLanguageCode("fiPH"));
  EXPECT_EQ(codes.languageOnly, PackLanguageCode("fi"));
}

TEST(ChooseMemberTest, GermanInAustriaGetsGerman) {
  EXPECT_EQ(MemberFor("de", "AT"), "German!de.txt");
}

TEST(ChooseMemberTest, PortugueseInBrazilGetsBrazilianPortuguese) {
  EXPECT_EQ(MemberFor("pt", "BR"), "Portuguese (Brazil)!ptBR.txt");
}

TEST(ChooseMemberTest, PortugueseInPortugalGetsNone) {
  EXPECT_EQ(MemberFor("pt", "PT"), "");
}

TEST(ChooseMemberTest, ChineseInTaiwanGetsNone) {
  EXPECT_EQ(MemberFor("zh", "TW"), "");
  EXPECT_EQ(MemberFor("zh", "CN"), "Chinese (China)!zhCN.txt");
}

TEST(ChooseMemberTest, SpanishOutsideSpainGetsNone) {
  EXPECT_EQ(MemberFor("es", "MX"), "");
  EXPECT_EQ(MemberFor("es", "ES"), "Spanish (Traditional)!esES.txt");
}

TEST(ChooseMemberTest, FullCodeWinsOverAnEarlierShortOne) {
  const std::vector<std::string> names = {"German!de.txt", "German (Austria)!deAT.txt"};
  EXPECT_EQ(ChooseMember(names, CodesOfUser("de", "AT")), "German (Austria)!deAT.txt");
  EXPECT_EQ(ChooseMember(names, CodesOfUser("de", "CH")), "German!de.txt");
}

TEST(ChooseMemberTest, OfTwoMembersWithOneCodeTheFirstCounts) {
  EXPECT_EQ(ChooseMember({"A!de.txt", "B!de.txt"}, CodesOfUser("de", "DE")), "A!de.txt");
}

TEST(ChooseMemberTest, GivenCodeIsLookedForInBothPlaces) {
  const LanguageCode code = PackLanguageCode("fr");
  EXPECT_EQ(ChooseMember(kShippedMembers, {code, code}), "French!fr.txt");
  const LanguageCode unknown = PackLanguageCode("frFR");
  EXPECT_EQ(ChooseMember(kShippedMembers, {unknown, unknown}), "");
}

TEST(ChooseMemberTest, UnknownUserGetsNone) {
  EXPECT_EQ(MemberFor("", ""), "");
}

}  // namespace
}  // namespace veskard
