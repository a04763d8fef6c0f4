#include "tools/common/JsonWriter.h"

#include <cstdio>

#include "tools/common/Utf8.h"

namespace veskard {
namespace {

void AppendCharacter(std::string& out, char c) {
  if (c == '"' || c == '\\') {
    out += '\\';
    out += c;
  } else if (static_cast<unsigned char>(c) < 0x20) {
    char escape[8] = {};
    std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(c));
    out += escape;
  } else {
    out += c;
  }
}

}  // namespace

JsonWriter& JsonWriter::Begin(char bracket) {
  Separate();
  text_ += bracket;
  needsComma_ = false;
  return *this;
}

JsonWriter& JsonWriter::End(char bracket) {
  text_ += bracket;
  needsComma_ = true;
  return *this;
}

JsonWriter& JsonWriter::Raw(std::string_view value) {
  Separate();
  text_ += value;
  return *this;
}

void JsonWriter::Separate() {
  if (needsComma_) text_ += ", ";
  needsComma_ = true;
}

JsonWriter& JsonWriter::Key(std::string_view name) {
  String(name);
  text_ += ": ";
  needsComma_ = false;
  return *this;
}

JsonWriter& JsonWriter::String(std::string_view utf8) {
  // There and back makes any bytes valid UTF-8.
  return String(std::wstring_view(FromUtf8(utf8)));
}

JsonWriter& JsonWriter::String(std::wstring_view text) {
  Separate();
  text_ += '"';
  for (const char c : ToUtf8(text)) AppendCharacter(text_, c);
  text_ += '"';
  return *this;
}

JsonWriter& JsonWriter::Bool(bool value) {
  return Raw(value ? "true" : "false");
}

JsonWriter& JsonWriter::Null() {
  return Raw("null");
}

}  // namespace veskard
