// The list of a file's streams as `NtQueryInformationFile` answers it.
#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace veskard {

/// A named stream, its name without the leading colon and the ":$DATA" suffix.
struct StreamEntry {
  std::wstring name;
  uint64_t size = 0;  // bytes

  bool operator==(const StreamEntry&) const = default;
};
using StreamEntryList = std::vector<StreamEntry>;

/// Bytes that the answer's buffer starts with, and grows by when they are too few.
inline constexpr size_t kStreamAnswerStep = 1024;

/// Asks for the stream list of an open object. Returns the system's status, 0 with
/// the answer in `answer`. Out of memory is an assertion failure.
/// The query must be available.
LONG QueryStreamAnswer(HANDLE file, std::vector<char>& answer);

/// Parses an answer and appends to `streams` each stream whose name is longer
/// than the main stream's, contains ":$DATA", and that is not empty:
///
///     offset  size  field
///          0     4  distance to the next entry, 0 in the last
///          4     4  length of the name in bytes, 0 for an entry without a stream
///          8     8  size of the stream in bytes
///         16     8  bytes allocated on the disk (unused)
///         24     -  the name in UTF-16, without a terminator:  :name:$DATA
///
/// An odd last byte of a name is ignored; a zero character ends it early. False
/// when an entry or its name reaches beyond the answer. A name of 522 bytes or
/// more stops the process, because it does not fit the name buffer, even when a zero
/// character ends it early.
bool WalkStreamAnswer(const std::vector<char>& answer, StreamEntryList& streams);

}  // namespace veskard
