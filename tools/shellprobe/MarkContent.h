// The content of one of the agent's marks.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace veskard {

class SyncHandle;

/// The kinds of content that the library distinguishes.
enum class MarkKind {
  kDictionary,  // the agent's record
  kOtherValue,  // well formed, but no dictionary: its values count as unset
  kDamaged,     // so do these
  kTooLarge,    // and these, which are not read at all
  kProgress,    // plain bytes that hold a placeholder's progress
  kTooShort,    // the same, too few of them: not being received
};

struct MarkContent {
  std::wstring place;  // "C:\Atlas\.sync\ID:_TYPE"
  uint64_t size = 0;   // bytes
  MarkKind kind = MarkKind::kDamaged;
  std::string dump;      // what it holds, as text, when it could be read; an owner that is no
                         // UTF-8 as its bytes
  size_t goodBytes = 0;  // when it is damaged: the offset of the first byte that cannot stand there,
                         // its size when it breaks off
};

/// Reads a mark that the inspection has opened. Throws std::bad_alloc only.
MarkContent ReadMarkContent(SyncHandle& mark);

}  // namespace veskard
