// ZipReader: the members of a zip archive that lies in memory.
#pragma once

#include <unzip.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "lang/MemoryFile.h"

namespace veskard {

/// The steps of reading a member, in their order.
enum class ZipStep : uint8_t { kDone, kLocate, kInfo, kOpen, kRead, kClose };

/// Where reading a member ended: kDone, or the step that failed and why.
struct ZipOutcome {
  ZipStep step = ZipStep::kDone;
  int error = 0;  // minizip's or zlib's, negative

  bool Succeeded() const noexcept { return step == ZipStep::kDone; }
};

/// The archive may be damaged or hostile: a reader never reads outside its bytes and
/// never allocates more than kMaxMemberSize for a member. Bytes that are no archive give
/// a reader without members. One thread at a time. Throws std::bad_alloc only.
class ZipReader {
 public:
  /// A member that claims to be larger is refused; language files have some twenty
  /// kilobytes.
  static constexpr size_t kMaxMemberSize = size_t{1} << 20;

  /// Opens the archive in `bytes`, which must outlive the reader.
  explicit ZipReader(std::string_view bytes);

  /// The members' names in the order of the archive's directory, as far as it can be
  /// read. Names of 256 or more bytes are left out.
  std::vector<std::string> MemberNames();

  /// Reads the first member with exactly this name into `contents`, which is empty after
  /// a failure. Failures by step:
  ///
  ///   kLocate  no such member, a damaged directory, or no archive at all
  ///   kInfo    the directory entry is damaged or claims more than kMaxMemberSize
  ///   kOpen    the entry's header is damaged or differs from the directory; encrypted; a
  ///            method other than stored and deflated
  ///   kRead    no bytes, or bytes that do not inflate
  ///   kClose   fewer bytes than claimed, or another checksum
  ZipOutcome ReadMember(const std::string& name, std::string& contents);

 private:
  struct ArchiveCloser {
    void operator()(void* archive) const noexcept { unzClose(archive); }
  };

  ZipOutcome OpenMember(const std::string& name, unz_file_info64& info);
  ZipOutcome ReadOpenMember(std::string& contents, const unz_file_info64& info);

  MemoryFile file_;
  std::unique_ptr<void, ArchiveCloser> archive_;  // null when the bytes are none
};

}  // namespace veskard
