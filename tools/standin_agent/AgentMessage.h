// The content of a message on the command pipe.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace veskard {

/// A message, decoded:
///
///     d 6:action i5e  4:last i1e  4:path 12:C:\Atlas\Map e
///     d 6:action i7e  5:files l 4:C:\a 4:C:\b e  4:last i1e e
///
/// "last" stands only in the last message of a command.
struct AgentMessage {
  bool isDictionary = false;       // false: not a bencoded dictionary; the rest is at its defaults
  int64_t action = 0;              // 3 to 7
  bool last = false;               // "last" is 1
  std::vector<std::string> paths;  // "path", or the strings of "files"; UTF-8
  std::string dump;                // the whole value as text
};

AgentMessage DecodeMessage(std::string bytes);

/// The user's word for an action: "Sync to this device"; "unknown action" for
/// numbers without one.
const char* ActionTitle(int64_t action) noexcept;

/// Every byte as it came, readable: printable ASCII stays, a backslash is
/// doubled, any other byte is \xNN.
std::string EscapeBytes(std::string_view bytes);

}  // namespace veskard
