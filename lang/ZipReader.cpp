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

/// minizip would return the raw bytes of a member that it cannot decode.
bool IsReadable(const unz_file_info64& info) {
  return (info.flag & kEncryptedFlag) == 0 &&
         (info.compression_method == kStored || info.compression_method == Z_DEFLATED);
}

/// minizip and zlib report an archive as damaged when they are out of memory. errno
/// distinguishes the two, so that a shortage does not cost a user the language.
class MemoryWatch {
 public:
  MemoryWatch() noexcept { errno = 0; }
  /// Throws std::bad_alloc when the failure that just happened was one of memory.
  void ThrowIfOutOfMemory() const {
    if (errno == ENOMEM) throw std::bad_alloc();
  }
};

/// Closes the current member, also when reading it throws std::bad_alloc.
class MemberCloser {
 public:
  explicit MemberCloser(unzFile archive) noexcept : archive_(archive) {}
  ~MemberCloser() { unzCloseCurrentFile(archive_); }
  MemberCloser(const MemberCloser&) = delete;
  MemberCloser& operator=(const MemberCloser&) = delete;

 private:
  unzFile archive_;
};

/// Inflates the current member, which is open for its raw bytes.
class Inflater {
 public:
  explicit Inflater(unzFile archive) noexcept
      : archive_(archive), error_(inflateInit2(&stream_, -MAX_WBITS)) {}
  ~Inflater() { inflateEnd(&stream_); }
  Inflater(const Inflater&) = delete;
  Inflater& operator=(const Inflater&) = delete;

  /// Fills `contents` and returns the number of bytes, fewer than its size when the
  /// stream ends early; a negative error when bytes are missing or do not inflate.
  int FillFrom(std::string& contents) noexcept {
    stream_.next_out = reinterpret_cast<Bytef*>(contents.data());
    stream_.avail_out = static_cast<uInt>(contents.size());
    while (error_ == Z_OK && stream_.avail_out > 0) Continue();
    if (error_ != Z_OK && error_ != Z_STREAM_END) return error_;
    return static_cast<int>(contents.size() - stream_.avail_out);
  }

 private:
  void Continue() noexcept {
    if (stream_.avail_in == 0) {
      const int count = unzReadCurrentFile(archive_, input_.data(), static_cast<unsigned>(input_.size()));
      if (count < 0) {
        error_ = count;
        return;
      }
      stream_.next_in = input_.data();
      stream_.avail_in = static_cast<uInt>(count);  // none at the end, which zlib calls an error
    }
    error_ = inflate(&stream_, Z_SYNC_FLUSH);
  }

  unzFile archive_;
  z_stream stream_{};
  int error_;
  std::array<Bytef, 4096> input_{};
};

bool IsChecksum(uLong expected, const std::string& contents) noexcept {
  return crc32(0, reinterpret_cast<const Bytef*>(contents.data()), static_cast<uInt>(contents.size())) ==
         expected;
}

}  // namespace

ZipReader::ZipReader(std::string_view bytes) : file_(bytes) {
  const MemoryWatch watch;
  zlib_filefunc64_def functions = file_.Functions();
  archive_.reset(unzOpen2_64("", &functions));
  if (archive_ == nullptr) watch.ThrowIfOutOfMemory();
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
  unz_file_info64 info{};
  ZipOutcome outcome = OpenMember(name, info);
  if (outcome.Succeeded()) outcome = ReadOpenMember(contents, info);
  if (outcome.Succeeded()) return outcome;
  contents.clear();
  watch.ThrowIfOutOfMemory();
  return outcome;
}

ZipOutcome ZipReader::OpenMember(const std::string& name, unz_file_info64& info) {
  int error = unzLocateFile(archive_.get(), name.c_str(), kCaseSensitive);
  if (error != UNZ_OK) return {ZipStep::kLocate, error};

  error = unzGetCurrentFileInfo64(archive_.get(), &info, nullptr, 0, nullptr, 0, nullptr, 0);
  if (error != UNZ_OK) return {ZipStep::kInfo, error};
  if (info.uncompressed_size > kMaxMemberSize) return {ZipStep::kInfo, UNZ_BADZIPFILE};

  // Opened for its raw bytes: minizip's own inflating leaks a buffer when zlib is out of
  // memory.
  int method = 0, level = 0;
  error = IsReadable(info) ? unzOpenCurrentFile2(archive_.get(), &method, &level, 1) : UNZ_BADZIPFILE;
  return error == UNZ_OK ? ZipOutcome{} : ZipOutcome{ZipStep::kOpen, error};
}

ZipOutcome ZipReader::ReadOpenMember(std::string& contents, const unz_file_info64& info) {
  const MemberCloser member(archive_.get());
  const auto size = static_cast<unsigned>(info.uncompressed_size);
  contents.resize(size);
  const int count = info.compression_method == kStored
                        ? unzReadCurrentFile(archive_.get(), contents.data(), size)
                        : Inflater(archive_.get()).FillFrom(contents);
  if (count <= 0) return {ZipStep::kRead, count};

  const bool isWhole = static_cast<unsigned>(count) == size && IsChecksum(info.crc, contents);
  return isWhole ? ZipOutcome{} : ZipOutcome{ZipStep::kClose, UNZ_CRCERROR};
}

}  // namespace veskard
