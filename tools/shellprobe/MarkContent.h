// What stands in one of the agent's marks.
#pragma once

#include <cstddef>
#include <string>

namespace veskard {

class SyncHandle;

struct MarkContent {
  std::wstring place;     // "C:\Atlas\.sync\ID:_TYPE"
  size_t size = 0;        // bytes
  bool bencoded = false;  // one list or dictionary, as the library parses it
  std::string dump;       // the value as text, when it is
  size_t goodBytes = 0;   // how far it could be read, when it is not
};

/// Reads a mark that the inspection has opened. Throws std::bad_alloc only.
MarkContent ReadMarkContent(SyncHandle& mark);

}  // namespace veskard
