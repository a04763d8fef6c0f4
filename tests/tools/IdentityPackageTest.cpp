#include "tools/shellprobe/IdentityPackage.h"

#include <gtest/gtest.h>

#include "tests/lang/ZipBuilder.h"
#include "tests/support/ScratchFolder.h"
#include "tools/marks/Marks.h"

namespace veskard::test {
namespace {

std::string Manifest(const std::string& identity) {
  return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<Package>\n  " + identity + "\n</Package>\n";
}

class IdentityPackageTest : public testing::Test {
 protected:
  std::optional<PackageIdentity> ReadFrom(const std::string& bytes) const {
    LayFile(file_, bytes);
    return ReadPackageIdentity(file_);
  }
  std::optional<PackageIdentity> ReadManifest(const std::string& manifest) const {
    return ReadFrom(BuildZip({{"AppxManifest.xml", manifest}}));
  }

  const ScratchFolder folder_;
  const std::wstring file_ = folder_ / L"VeskardExplorerCommand.msix";
};

TEST_F(IdentityPackageTest, PublisherAndVersionAreTheManifests) {
  const auto identity = ReadManifest(
      Manifest(R"(<Identity Name="Nimbrel.VeskardAgent" Publisher="CN=Nimbrel, C=AT" Version="1.2.3.0"/>)"));
  ASSERT_TRUE(identity);
  EXPECT_EQ(identity->publisher, L"CN=Nimbrel, C=AT");
  EXPECT_EQ(identity->version, "1.2.3.0");
}

TEST_F(IdentityPackageTest, WhatXmlEscapesIsRead) {
  const auto identity = ReadManifest(Manifest(
      R"(<Identity Publisher="CN=&quot;A &amp; B&quot;, O=Ad\xC3\xA8le &amp;lt;" Version="1.0.0.0"/>)"));
  ASSERT_TRUE(identity);
  EXPECT_TRUE(identity->publisher.starts_with(L"CN=\"A & B\", O="));
  EXPECT_TRUE(identity->publisher.ends_with(L" &lt;"));
}

TEST_F(IdentityPackageTest, AFileWithoutAnIdentityHasNone) {
  EXPECT_FALSE(ReadPackageIdentity(folder_ / L"missing.msix"));
  EXPECT_FALSE(ReadFrom(""));
  EXPECT_FALSE(ReadFrom("no archive"));
  EXPECT_FALSE(ReadFrom(BuildZip({{"Other.xml", "<Identity Publisher=\"a\" Version=\"1\"/>"}})));
  EXPECT_FALSE(ReadManifest(""));
  EXPECT_FALSE(ReadManifest(Manifest("")));
  EXPECT_FALSE(ReadManifest("<Identity Publisher=\"a\" Version=\"1\""));
  EXPECT_FALSE(ReadManifest(Manifest("<Identity Version=\"1.0.0.0\"/>")));
  EXPECT_FALSE(ReadManifest(Manifest("<Identity Publisher=\"a\"/>")));
  EXPECT_FALSE(ReadManifest(Manifest("<Identity Publisher=\"a/>")));
}

// The publisher of the packages that come with Windows, whose id everybody knows.
TEST_F(IdentityPackageTest, ThePublishersIdIsTheOneThatWindowsForms) {
  EXPECT_EQ(
      PublisherIdOf(L"CN=Microsoft Corporation, O=Microsoft Corporation, L=Redmond, S=Washington, C=US"),
      L"8wekyb3d8bbwe");
  EXPECT_EQ(PublisherIdOf(L"CN=Nimbrel").size(), 13u);
  EXPECT_NE(PublisherIdOf(L"CN=Nimbrel"), PublisherIdOf(L"CN=nimbrel"));
}

TEST_F(IdentityPackageTest, AFullNameHasFiveParts) {
  const PackageFullName whole = SplitFullName(L"Nimbrel.VeskardAgent_1.2.3.0_neutral__8wekyb3d8bbwe");
  EXPECT_EQ(whole.name, L"Nimbrel.VeskardAgent");
  EXPECT_EQ(whole.version, "1.2.3.0");
  EXPECT_EQ(whole.publisherId, L"8wekyb3d8bbwe");
  EXPECT_EQ(SplitFullName(L"Nimbrel").version, "");
  EXPECT_EQ(SplitFullName(L"a_1_x64_de_id_more").publisherId, L"id_more");
  EXPECT_EQ(SplitFullName(L"").name, L"");
}

}  // namespace
}  // namespace veskard::test
