#include <gtest/gtest.h>

#include <string>

#include "benc/BencParser.h"
#include "benc/BencWriter.h"

namespace veskard {
namespace {

// What a text is written as after it was parsed.
std::string Rewritten(std::string text) {
  BencValue value;
  BencParser parser(text.data(), text.data() + text.size());
  if (!ParseBencoded(value, parser)) return "refused";
  ByteBuilder out;
  WriteBencoded(out, value);
  return std::string(out.View());
}

TEST(BencRoundTripTest, SortsKeys) {
  EXPECT_EQ(Rewritten("d1:b0:1:a0:e"), "d1:a0:1:b0:e");
}

TEST(BencRoundTripTest, ForgivesErrorsInListsOnly) {
  EXPECT_EQ(Rewritten("l1:ax1:be"), "l1:a1:be");
  EXPECT_EQ(Rewritten("lx1:ae"), "le");
  EXPECT_EQ(Rewritten("d1:ai1e1:ai2ee"), "refused");
}

TEST(BencRoundTripTest, KeepsAnyDepth) {
  const std::string deep = std::string(300000, 'l') + std::string(300000, 'e');
  EXPECT_EQ(Rewritten(deep), deep);
  EXPECT_EQ(Rewritten(std::string(300000, 'l')), "refused");
}

}  // namespace
}  // namespace veskard
