#include "lang/MemoryFile.h"

#include <algorithm>
#include <cstring>

namespace veskard {
namespace {

MemoryFile& Self(void* stream) {
  return *static_cast<MemoryFile*>(stream);
}

// minizip's callbacks. None allocates or throws.

void* ZCALLBACK OpenFile(void* file, const void*, int) {
  return file;
}

uLong ZCALLBACK ReadFileBytes(void*, void* stream, void* buffer, uLong count) {
  return static_cast<uLong>(Self(stream).Read(buffer, count));
}

uLong ZCALLBACK WriteNothing(void*, void*, const void*, uLong) {
  return 0;
}

ZPOS64_T ZCALLBACK TellPosition(void*, void* stream) {
  return Self(stream).Position();
}

long ZCALLBACK SeekPosition(void*, void* stream, ZPOS64_T offset, int origin) {
  return Self(stream).Seek(offset, origin) ? 0 : -1;
}

int ZCALLBACK CloseFile(void*, void*) {
  return 0;
}

int ZCALLBACK NoError(void*, void*) {
  return 0;
}

}  // namespace

zlib_filefunc64_def MemoryFile::Functions() noexcept {
  return {OpenFile, ReadFileBytes, WriteNothing, TellPosition, SeekPosition, CloseFile, NoError, this};
}

size_t MemoryFile::Read(void* buffer, size_t count) noexcept {
  const size_t available = std::min(count, bytes_.size() - position_);
  if (available != 0) std::memcpy(buffer, bytes_.data() + position_, available);
  position_ += available;
  return available;
}

bool MemoryFile::Seek(ZPOS64_T offset, int origin) noexcept {
  ZPOS64_T base = 0;
  if (origin == ZLIB_FILEFUNC_SEEK_CUR) base = position_;
  if (origin == ZLIB_FILEFUNC_SEEK_END) base = bytes_.size();
  // A negative offset wraps around to the position meant; one that leaves the bytes
  // on either side wraps to a number beyond their size.
  const ZPOS64_T target = base + offset;
  if (target > bytes_.size()) return false;
  position_ = static_cast<size_t>(target);
  return true;
}

}  // namespace veskard
