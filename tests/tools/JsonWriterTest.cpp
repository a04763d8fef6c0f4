#include "tools/common/JsonWriter.h"

#include <gtest/gtest.h>

namespace veskard {
namespace {

TEST(JsonWriterTest, SeparatesFieldsAndElements) {
  JsonWriter json;
  json.BeginObject().Field("a", 1).Field("b", true).Key("c").BeginArray();
  json.Number(1).Number(-2).BeginObject().EndObject().EndArray().Key("d").Null().EndObject();
  EXPECT_EQ(json.Text(), R"({"a": 1, "b": true, "c": [1, -2, {}], "d": null})");
}

TEST(JsonWriterTest, EscapesWhatJsonForbids) {
  EXPECT_EQ(JsonWriter().String(L"C:\\\"a\"\n\x01").Text(), "\"C:\\\\\\\"a\\\"\\u000a\\u0001\"");
}

TEST(JsonWriterTest, KeepsOtherCharactersAsUtf8) {
  EXPECT_EQ(JsonWriter().String(L"\u00e9\u4f60\U0001F600").Text(),
            "\"\xC3\xA9\xE4\xBD\xA0\xF0\x9F\x98\x80\"");
}

TEST(JsonWriterTest, BytesThatAreNoUtf8BecomeReplacementCharacters) {
  EXPECT_EQ(JsonWriter().String(std::string_view("a\xFFz")).Text(), "\"a\xEF\xBF\xBDz\"");
}

}  // namespace
}  // namespace veskard
