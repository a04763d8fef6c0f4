#include "fs/util/StreamList.h"

#include <array>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <string_view>

#include "core/StdAfx.h"
#include "fs/util/NtFunctions.h"

namespace veskard {
namespace {

constexpr size_t kNameOffset = 24;
constexpr size_t kNameBufferLength = 261;  // characters, with the terminator
constexpr std::wstring_view kDataSuffix = L":$DATA";
constexpr size_t kMainStreamNameLength = 7;  // ::$DATA

struct RawEntry {
  uint32_t next;
  uint32_t nameBytes;
  uint64_t size;
};
static_assert(sizeof(RawEntry) == 16);

// Ends the process the way the C run-time does for a parameter that it refuses;
// no handler of the host is asked.
[[noreturn]] void StopOnInvalidParameter() noexcept {
  constexpr DWORD kInvalidRuntimeParameter = 0xC0000417;
  EXCEPTION_RECORD record = {};
  record.ExceptionCode = kInvalidRuntimeParameter;
  record.ExceptionFlags = EXCEPTION_NONCONTINUABLE;
  ::RaiseFailFastException(&record, nullptr, 0);
  std::abort();
}

void AppendStream(const char* name, const RawEntry& entry, StreamEntryList& streams) {
  std::array<wchar_t, kNameBufferLength> buffer = {};
  std::memcpy(buffer.data(), name, entry.nameBytes / sizeof(wchar_t) * sizeof(wchar_t));
  const std::wstring_view text = buffer.data();
  if (text.size() <= kMainStreamNameLength || text.find(kDataSuffix) == text.npos || entry.size == 0) return;
  streams.push_back({std::wstring(text.substr(1, text.size() - 1 - kDataSuffix.size())), entry.size});
}

// One step more, all zeros.
void Grow(std::vector<char>& answer) noexcept {
  const size_t size = answer.size() + kStreamAnswerStep;
  try {
    if (size <= std::numeric_limits<ULONG>::max()) return answer.assign(size, 0);
  } catch (const std::bad_alloc&) {
  }
  AssertionFailed("core\\StdAfx", 474);
}

}  // namespace

LONG QueryStreamAnswer(HANDLE file, std::vector<char>& answer) {
  LONG result = kStatusBufferOverflow;
  while (result == kStatusBufferOverflow) {
    Grow(answer);
    IO_STATUS_BLOCK status = {};
    result = Nt().queryInformationFile(file, &status, answer.data(), static_cast<ULONG>(answer.size()),
                                       kFileStreamInformation);
  }
  return result;
}

bool WalkStreamAnswer(const std::vector<char>& answer, StreamEntryList& streams) {
  size_t rest = answer.size();
  for (const char* place = answer.data(); rest >= kNameOffset;) {
    RawEntry entry;
    std::memcpy(&entry, place, sizeof(entry));
    if (entry.nameBytes >= kNameBufferLength * sizeof(wchar_t)) StopOnInvalidParameter();
    if (entry.nameBytes > rest - kNameOffset) return false;
    if (entry.nameBytes != 0) AppendStream(place + kNameOffset, entry, streams);
    if (entry.next == 0) return true;
    if (entry.next > rest) return false;
    place += entry.next;
    rest -= entry.next;
  }
  return false;
}

}  // namespace veskard
