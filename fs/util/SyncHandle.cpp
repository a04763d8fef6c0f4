#include "fs/util/SyncHandle.h"

#include "fs/util/Files.h"
#include "fs/util/IoStatistics.h"
#include "fs/util/NtFunctions.h"
#include "fs/util/PathText.h"

namespace veskard {
namespace {

constexpr uint32_t kCopyChunk = 64 * 1024;

void StoreTo(uint32_t* target, uint32_t value) noexcept {
  if (target != nullptr) *target = value;
}

// Closes a handle at the end of the scope, also by an exception: counting a transfer may
// run out of memory.
class ClosedAtTheEnd {
 public:
  explicit ClosedAtTheEnd(SyncHandle& handle) noexcept : handle_(handle) {}
  ~ClosedAtTheEnd() { handle_.Close(); }
  ClosedAtTheEnd(const ClosedAtTheEnd&) = delete;
  ClosedAtTheEnd& operator=(const ClosedAtTheEnd&) = delete;

 private:
  SyncHandle& handle_;
};

OVERLAPPED PlaceAt(uint64_t offset) noexcept {
  OVERLAPPED place = {};
  place.Offset = static_cast<DWORD>(offset);
  place.OffsetHigh = static_cast<DWORD>(offset >> 32);
  return place;
}

}  // namespace

SyncHandle::SyncHandle(const PathVector& path) : SyncHandle(path.ToString(path.Separator(), 0)) {}

SyncHandle::SyncHandle(std::wstring path) noexcept : path_(std::move(path)) {}

std::wstring SyncHandle::GetName() const {
  const auto hold = HoldLock();
  return std::wstring(LastComponent(path_));
}

int64_t SyncHandle::GetModificationTime(uint32_t* error) {
  StoreTo(error, 0);
  return -1;
}

uint64_t SyncHandle::GetSize(uint32_t* error) {
  StoreTo(error, 0);
  return 0;
}

void SyncHandle::Close() {
  const auto hold = HoldLock();
  osHandle_.Reset();
  mode_ = kModeClosed;
  lastError_ = 0;
}

bool SyncHandle::Flush(uint32_t* error) {
  StoreTo(error, 0);
  return false;
}

std::optional<StreamHandleList> SyncHandle::GetStreams() {
  return std::nullopt;
}

bool SyncHandle::Create() {
  return false;
}

bool SyncHandle::IsDeletePending() {
  return false;
}

bool SyncHandle::SetValidData(uint64_t) {
  return true;
}

bool SyncHandle::CancelIo() {
  const auto hold = HoldLock();
  if (!osHandle_) return false;
  if (::CancelIoEx(osHandle_.Get(), nullptr)) return Record(0);
  const DWORD error = ::GetLastError();
  return Record(error == ERROR_NOT_FOUND ? 0 : error);
}

bool SyncHandle::Record(uint32_t result, uint32_t* error) noexcept {
  lastError_ = result;
  StoreTo(error, result);
  return result == 0;
}

bool SyncHandle::RecordCall(BOOL success, uint32_t* error) noexcept {
  return Record(success ? 0 : ::GetLastError(), error);
}

bool SyncHandle::OpenNamed(const std::wstring& osName, uint32_t mode, uint8_t flag, uint32_t extraFlags) {
  Close();
  openFlag_ = flag;
  mode_ = mode;
  return OpenAgain(osName, extraFlags);
}

bool SyncHandle::OpenAgain(const std::wstring& osName, uint32_t extraFlags) {
  osHandle_ = OpenByMode(osName, mode_, extraFlags);
  return RecordCall(HasOsHandle());
}

bool SyncHandle::SeekOpen(uint64_t offset) {
  const auto hold = HoldLock();
  if (!osHandle_) return false;
  LARGE_INTEGER distance;
  distance.QuadPart = static_cast<LONGLONG>(offset);
  return RecordCall(::SetFilePointerEx(osHandle_.Get(), distance, nullptr, FILE_BEGIN));
}

bool SyncHandle::SetSizeOpen(uint64_t size) {
  const auto hold = HoldLock();
  if (!osHandle_) return false;
  FILE_END_OF_FILE_INFO end;
  end.EndOfFile.QuadPart = static_cast<LONGLONG>(size);
  return RecordCall(::SetFileInformationByHandle(osHandle_.Get(), FileEndOfFileInfo, &end, sizeof(end)));
}

bool SyncHandle::SetValidDataOpen(uint64_t size) {
  const auto hold = HoldLock();
  if (!osHandle_) return false;
  return RecordCall(::SetFileValidData(osHandle_.Get(), static_cast<LONGLONG>(size)));
}

bool SyncHandle::FlushOpen(uint32_t* error) {
  const auto hold = HoldLock();
  if (!osHandle_) return Record(ERROR_INVALID_PARAMETER, error);
  return RecordCall(::FlushFileBuffers(osHandle_.Get()), error);
}

std::optional<OpenObjectState> SyncHandle::GetOpenState() {
  const auto hold = HoldLock();
  const auto query = Nt().queryInformationFile;
  if (!osHandle_ || query == nullptr) return std::nullopt;
  FILE_STANDARD_INFO answer = {};
  static_assert(sizeof(answer) == 24);
  IO_STATUS_BLOCK status = {};
  if (query(osHandle_.Get(), &status, &answer, sizeof(answer), kFileStandardInformation) != 0)
    return std::nullopt;
  return OpenObjectState{static_cast<uint64_t>(answer.EndOfFile.QuadPart), answer.DeletePending != FALSE};
}

bool SyncHandle::IsDeletePendingOpen() {
  const auto state = GetOpenState();
  return state && state->deletePending;
}

uint32_t SyncHandle::ReadOpen(void* buffer, uint32_t count, const uint64_t* offset) {
  const auto hold = HoldLock();
  if (!osHandle_) return 0;
  OVERLAPPED place = PlaceAt(offset != nullptr ? *offset : 0);
  OVERLAPPED* const overlapped = offset != nullptr ? &place : nullptr;
  DWORD transferred = 0;
  const BOOL done = ::ReadFile(osHandle_.Get(), buffer, count, &transferred, overlapped);
  transferred = FinishTransfer(done, overlapped, transferred);
  if (noAccounting_ == 0) IoStatistics::Instance().CountRead(transferred);
  return transferred;
}

uint32_t SyncHandle::WriteOpen(const void* buffer, uint32_t count, const uint64_t* offset) {
  const auto hold = HoldLock();
  if (!osHandle_) return 0;
  OVERLAPPED place = PlaceAt(offset != nullptr ? *offset : 0);
  OVERLAPPED* const overlapped = offset != nullptr ? &place : nullptr;
  DWORD transferred = 0;
  const BOOL done = ::WriteFile(osHandle_.Get(), buffer, count, &transferred, overlapped);
  transferred = FinishTransfer(done, overlapped, transferred);
  if (noAccounting_ == 0) IoStatistics::Instance().CountWritten(transferred);
  return transferred;
}

// A handle opened for overlapped transfers (by an extra flag) returns before the
// transfer is done: buffer and structure must live until then.
uint32_t SyncHandle::FinishTransfer(BOOL done, OVERLAPPED* overlapped, DWORD transferred) {
  if (!done && overlapped != nullptr && ::GetLastError() == ERROR_IO_PENDING) {
    done = ::GetOverlappedResult(osHandle_.Get(), overlapped, &transferred, TRUE);
  }
  RecordCall(done);
  return transferred;
}

// The source is opened first, and the buffer made: a source that cannot be
// read, and out of memory, must not destroy this object's old content.
bool SyncHandle::FillFrom(SyncHandle& source, const std::wstring& sourceName, const std::wstring& ownName) {
  if (IsCopyOntoItself(sourceName, ownName)) return Record(ERROR_SHARING_VIOLATION);
  if (!source.Open(kModeRead, 0, 0)) return Record(source.LastError());
  std::vector<char> buffer(kCopyChunk);
  return Record(ReplaceBy(source, buffer));
}

uint32_t SyncHandle::ReplaceBy(SyncHandle& source, std::vector<char>& buffer) {
  const ClosedAtTheEnd closed(*this);
  return Open(kModeReplace, openFlag_, 0) ? CarryFrom(source, buffer) : lastError_;
}

uint32_t SyncHandle::CarryFrom(SyncHandle& source, std::vector<char>& buffer) {
  while (const uint32_t count = source.Read(buffer.data(), kCopyChunk)) {
    if (Write(buffer.data(), count) != count) return lastError_ != 0 ? lastError_ : ERROR_DISK_FULL;
  }
  if (source.LastError() != 0) return source.LastError();
  uint32_t error = 0;
  Flush(&error);
  return error;
}

}  // namespace veskard
