#include "tools/standin_agent/AgentMessage.h"

#include <cstdio>

#include "benc/BencDump.h"
#include "benc/BencParser.h"
#include "benc/BencValue.h"
#include "util/string/ByteBuilder.h"

namespace veskard {
namespace {

std::vector<std::string> PathsOf(const BencValue& message) {
  std::vector<std::string> paths;
  if (const BencValue* path = message.Find("path")) paths.emplace_back(path->AsBytes());
  if (const BencValue* files = message.Find("files")) {
    for (const BencValue& file : files->Items()) paths.emplace_back(file.AsBytes());
  }
  return paths;
}

std::string DumpOf(const BencValue& value) {
  ByteBuilder text;
  DumpValue(text, value, 0);
  return std::string(text.View());
}

}  // namespace

AgentMessage DecodeMessage(std::string bytes) {
  AgentMessage message;
  BencParser parser(bytes.data(), bytes.data() + bytes.size());
  BencValue value;
  if (!ParseBencoded(value, parser) || value.GetKind() != BencValue::Kind::Dict) return message;
  message.isDictionary = true;
  message.action = value.FindInt("action");
  message.last = value.FindInt("last") == 1;
  message.paths = PathsOf(value);
  message.dump = DumpOf(value);
  return message;
}

const char* ActionTitle(int64_t action) noexcept {
  struct Row {
    int64_t action;
    const char* title;
  };
  static constexpr Row kTitles[] = {
      {3, "Sync to this device"},
      {4, "Cancel receiving"},
      {5, "Remove from this device"},
      {6, "Remove from all devices"},
      {7, "Share"},
  };
  for (const Row& row : kTitles) {
    if (row.action == action) return row.title;
  }
  return "unknown action";
}

std::string EscapeBytes(std::string_view bytes) {
  std::string text;
  for (const char c : bytes) {
    if (c == '\\') {
      text += "\\\\";
    } else if (c >= ' ' && c <= '~') {
      text += c;
    } else {
      char escape[8] = {};
      std::snprintf(escape, sizeof escape, "\\x%02X", static_cast<unsigned>(static_cast<unsigned char>(c)));
      text += escape;
    }
  }
  return text;
}

}  // namespace veskard
