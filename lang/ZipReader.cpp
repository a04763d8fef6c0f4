#include "lang/ZipReader.h"

#include <array>
#include <cerrno>
#include <new>

namespace veskard {
namespace {

constexpr uLong kEncryptedFlag = 1;
constexpr uLong kStored = 0;
constexpr int kCaseSensitive = 1;

// Members with longer names cannot be located.
constexpr size_t kMaxNameLength = 255;

/// minizip would hand out the raw bytes of what it cannot decode, without a check.
bool IsReadable(const unz_file_info64& info) {
  return (info.flag & kEncryptedFlag) == 0 &&
         (info.compression_method == kStored || info.compression_method == Z_DEFLATED);
}

/// To minizip and zlib an archive that they have no memory for is a damaged one. The
/// C library tells the two apart, so that a shortage does not cost a user the language.
class MemoryWatch {
 public:
  MemoryWatch() noexcept { errno = 0; }
  /// After a failure: throws std::bad_alloc when it was one of memory.
  void ThrowIfMemoryEnded() const {
    if (errno == ENOMEM) throw std::bad_alloc();
  }
};

/// Closes the current member also when memory runs out while it is read.
class MemberCloser {
 public:
  explicit MemberCloser(unzFile archive) noexcept : archive_(archive) {}
  ~MemberCloser() { Close(); }
  MemberCloser(const MemberCloser&) = delete;
  MemberCloser& operator=(const MemberCloser&) = delete;

  /// UNZ_OK, or UNZ_CRCERROR when all bytes were read and their checksum differs.
  int Close() noexcept {
    const int error = archive_ == nullptr ? UNZ_OK : unzCloseCurrentFile(archive_);
    archive_ = nullptr;
    return error;
  }

 private:
  unzFile archive_;
};

}  // namespace

ZipReader::ZipReader(std::string_view bytes) : file_(bytes) {
  const MemoryWatch watch;
  zlib_filefunc64_def functions = file_.Functions();
  archive_.reset(unzOpen2_64("", &functions));
  if (archive_ == nullptr) watch.ThrowIfMemoryEnded();
}

std::vector<std::string> ZipReader::MemberNames() {
  std::vector<std::string> names;
  int error = unzGoToFirstFile(archive_.get());
  while (error == UNZ_OK) {
    unz_file_info64 info{};
    std::array<char, kMaxNameLength + 1> name{};
    error =
        unzGetCurrentFileInfo64(archive_.get(), &info, name.data(), kMaxNameLength, nullptr, 0, nullptr, 0);
    if (error != UNZ_OK) break;
    if (info.size_filename <= kMaxNameLength) names.emplace_back(name.data());
    error = unzGoToNextFile(archive_.get());
  }
  return names;
}

ZipOutcome ZipReader::ReadMember(const std::string& name, std::string& contents) {
  const MemoryWatch watch;
  contents.clear();
  size_t size = 0;
  ZipOutcome outcome = OpenMember(name, size);
  if (outcome.Succeeded()) outcome = ReadOpenMember(contents, size);
  if (outcome.Succeeded()) return outcome;
  contents.clear();
  watch.ThrowIfMemoryEnded();
  return outcome;
}

ZipOutcome ZipReader::OpenMember(const std::string& name, size_t& size) {
  int error = unzLocateFile(archive_.get(), name.c_str(), kCaseSensitive);
  if (error != UNZ_OK) return {ZipStep::kLocate, error};

  unz_file_info64 info{};
  error = unzGetCurrentFileInfo64(archive_.get(), &info, nullptr, 0, nullptr, 0, nullptr, 0);
  if (error != UNZ_OK) return {ZipStep::kInfo, error};
  if (info.uncompressed_size > kMaxMemberSize) return {ZipStep::kInfo, UNZ_BADZIPFILE};
  size = static_cast<size_t>(info.uncompressed_size);

  error = IsReadable(info) ? unzOpenCurrentFile(archive_.get()) : UNZ_BADZIPFILE;
  return error == UNZ_OK ? ZipOutcome{} : ZipOutcome{ZipStep::kOpen, error};
}

ZipOutcome ZipReader::ReadOpenMember(std::string& contents, size_t size) {
  MemberCloser member(archive_.get());
  contents.resize(size);
  const int count = unzReadCurrentFile(archive_.get(), contents.data(), static_cast<unsigned>(size));
  if (count <= 0) return {ZipStep::kRead, count};

  // A stream that ends early is never checked against its checksum.
  const bool isShort = static_cast<size_t>(count) < size;
  const int error = isShort ? UNZ_CRCERROR : member.Close();
  return error == UNZ_OK ? ZipOutcome{} : ZipOutcome{ZipStep::kClose, error};
}

}  // namespace veskard
