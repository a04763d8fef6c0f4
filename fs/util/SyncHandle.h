// SyncHandle: the base of the handle family, one object per file-system object.
#pragma once

#include <windows.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "core/CriticalSection.h"
#include "core/WindowsOwners.h"
#include "fs/util/OpenMode.h"
#include "fs/util/PathVector.h"

namespace veskard {

/// The kinds of handles, by the numbers that the factory takes.
enum class HandleKind : uint32_t {
  kFile = 1,
  kFolder = 2,
  kSymlink = 3,
  kFileSecondCode = 4,  // a plain file as well; no handle answers this kind
  kStream = 5,
};

/// The state of an open object at one moment.
struct OpenObjectState {
  uint64_t size = 0;  // in bytes
  bool deletePending = false;
};

class SyncHandle;
using StreamHandleList = std::vector<std::shared_ptr<SyncHandle>>;

/// Names one file-system object by its path, owns at most one open system handle to it,
/// and keeps the error of the last operation.
///
/// The operations by kind; where only a value stands, the operation returns it and does
/// nothing:
///
///     operation            base      file            folder     symlink     stream
///     Seek                 -         moves           false      false       as file
///     SetSize              -         sets the end    false      false       as file
///     GetName              from path as base         as base    as base     stream name
///     GetModificationTime  -1        from file info  as file    as file     -1
///     GetSize              0         from file info  as file    as file     opens and asks
///     Open                 -         by mode         as file    as file     by mode
///     Close                closes    as base         as base    as base     as base
///     IsOpen               -         handle valid    as file    as file     as file
///     ReservedFalse        false     as base         as base    as base     as base
///     ReservedTrue         true      as base         as base    as base     as base
///     Read, ReadAt         -         reads           0          0           as file
///     Write                -         writes          0          sets target as file
///     WriteAt              -         writes          0          0           as file
///     Flush                false     flushes         as file    as file     flushes
///     CopyFrom             -         copies in       false      false       copies in
///     Delete               -         deletes         or tree    as file     the stream only
///     GetStreams           nothing   lists           as file    as file     nothing
///     Create               false     empty file      chain      true        false
///     IsDeletePending      false     asks            as file    as file     as file
///     SetValidData         true      extends         as file    as file     true
///     GetKind              -         1               2          3           5
///     CancelIo             cancels   as base         as base    as base     as base
///
/// Results are true for success, unless said otherwise. A failing system call
/// leaves its Windows error code in LastError(), a successful operation leaves 0;
/// an operation refused because the handle is not open does not change it, except
/// Flush. Only std::bad_alloc is thrown. `error` parameters may be null; when given
/// they receive the error code, 0 for success.
///
/// Handles live in shared pointers (MakeHandle in fs/util/Handle.h). A handle
/// without a lock belongs to one thread at a time; one that was given a lock
/// serialises all its operations and may be shared.
class SyncHandle {
 public:
  /// Each kind closes its handle first, under the lock.
  virtual ~SyncHandle() = default;
  SyncHandle(const SyncHandle&) = delete;
  SyncHandle& operator=(const SyncHandle&) = delete;

  /// Moves the file position to `offset` bytes from the start; false when closed.
  virtual bool Seek(uint64_t offset) = 0;

  /// Makes the file end after `size` bytes; false when closed. The position stays.
  virtual bool SetSize(uint64_t size) = 0;

  /// The path's text after its last backslash or slash; the whole path when it
  /// has neither. A stream answers its own name.
  virtual std::wstring GetName() const;

  /// Seconds since 1970 of the last write; 0 when the system does not give them, -1 for
  /// kinds that have none.
  virtual int64_t GetModificationTime(uint32_t* error);

  /// Size in bytes as the folder's listing has it, whether or not the handle is open;
  /// 0 when the system does not give it. While a file is open, Windows may update the
  /// listing only when it is closed. (A file found under a name that differs in letter
  /// case has its size and ERROR_FILE_NOT_FOUND.)
  virtual uint64_t GetSize(uint32_t* error);

  /// Closes the system handle if open, and opens the object by an index into kOpenModes
  /// (another number fails with ERROR_INVALID_PARAMETER). `flag` is only stored;
  /// `extraFlags` are added to the mode's flags and attributes.
  virtual bool Open(uint32_t mode, uint8_t flag, uint32_t extraFlags) = 0;

  /// Closes the system handle and clears mode and error. Harmless when closed.
  virtual void Close();

  virtual bool IsOpen() const = 0;

  // Two answers that the agent's core reserves; no code here calls them.
  virtual bool ReservedFalse() const { return false; }
  virtual bool ReservedTrue() const { return true; }

  /// One transfer of `count` bytes at the file position. Returns the number of
  /// bytes transferred: less at the end of a file or on a full disk, 0 on failure
  /// and when closed. The buffer belongs to the caller.
  virtual uint32_t Read(void* buffer, uint32_t count) = 0;
  /// The same at `offset`. The file position ends behind the last byte, as the
  /// system leaves it; reading from beyond the end fails with ERROR_HANDLE_EOF.
  virtual uint32_t ReadAt(void* buffer, uint32_t count, uint64_t offset) = 0;
  virtual uint32_t Write(const void* buffer, uint32_t count) = 0;
  /// An offset of all ones is the end of the file as it is at that moment, so that
  /// writers of several processes do not overwrite one another.
  virtual uint32_t WriteAt(const void* buffer, uint32_t count, uint64_t offset) = 0;

  /// Writes the system's buffers to the disk; ERROR_INVALID_PARAMETER when closed.
  virtual bool Flush(uint32_t* error);

  /// Makes this object's contents those of the object at `sourcePath`; see the
  /// kinds. A stream's source path ends in the stream's name, as MakeHandle takes it.
  virtual bool CopyFrom(const std::wstring& sourcePath, HandleKind sourceKind) = 0;

  /// Deletes the object from the disk; `recursive` matters to folders only.
  virtual bool Delete(bool recursive, uint32_t* error) = 0;

  /// One closed StreamHandle for each non-empty named stream; nothing on failure.
  virtual std::optional<StreamHandleList> GetStreams();

  /// Makes the object, empty, and leaves the handle closed.
  virtual bool Create();

  /// True when the open object is going to be deleted once its handles are
  /// closed; false when closed or when the system does not answer.
  virtual bool IsDeletePending();

  /// Extends the file to `size` bytes without filling it with zeros. Without the
  /// volume-maintenance privilege: false with ERROR_PRIVILEGE_NOT_HELD, and the
  /// file has the new size all the same.
  virtual bool SetValidData(uint64_t size);

  virtual HandleKind GetKind() const = 0;

  /// Cancels the pending transfers of the open handle, whichever thread began
  /// them; nothing to cancel is success. With a lock, waits for running operations.
  virtual bool CancelIo();

  /// Both in one question to the system, of the open handle itself; nothing when closed or
  /// when the system does not answer.
  std::optional<OpenObjectState> GetOpenState();

  const std::wstring& Path() const noexcept { return path_; }
  /// The mode last given to Open, whether or not that succeeded; kModeClosed
  /// after Close.
  uint32_t Mode() const noexcept { return mode_; }
  uint32_t LastError() const noexcept { return lastError_; }
  uint8_t OpenFlag() const noexcept { return openFlag_; }

  /// Gives the handle a lock of its own. Call before other threads know the handle.
  void SetLock(std::unique_ptr<CriticalSection> lock) noexcept { lock_ = std::move(lock); }

  /// Whether transfers count in the per-thread statistics (fs/util/IoStatistics.h);
  /// a new handle's do not.
  void SetAccounting(bool counted) noexcept { noAccounting_ = counted ? 0 : 1; }

 protected:
  explicit SyncHandle(const PathVector& path);
  explicit SyncHandle(std::wstring path) noexcept;

  /// Held by each operation for its whole duration; operations may nest.
  [[nodiscard]] CriticalSectionHold HoldLock() const noexcept { return CriticalSectionHold(lock_.get()); }

  /// Stores a result: the error code, also through `error` when given. Returns
  /// whether it is 0.
  bool Record(uint32_t result, uint32_t* error = nullptr) noexcept;
  /// The same for a system call that returned `success`.
  bool RecordCall(BOOL success, uint32_t* error = nullptr) noexcept;

  /// What files and streams share: the operations on the open system handle, with the
  /// lock held, and opening by the name that the system knows.
  bool HasOsHandle() const noexcept {
    const auto hold = HoldLock();
    return static_cast<bool>(osHandle_);
  }
  bool OpenNamed(const std::wstring& osName, uint32_t mode, uint8_t flag, uint32_t extraFlags);
  /// Another try in the mode and with the flag of the last.
  bool OpenAgain(const std::wstring& osName, uint32_t extraFlags);
  bool SeekOpen(uint64_t offset);
  bool SetSizeOpen(uint64_t size);
  bool SetValidDataOpen(uint64_t size);
  bool FlushOpen(uint32_t* error);
  bool IsDeletePendingOpen();
  /// `offset` null: at the file position.
  uint32_t ReadOpen(void* buffer, uint32_t count, const uint64_t* offset = nullptr);
  uint32_t WriteOpen(const void* buffer, uint32_t count, const uint64_t* offset = nullptr);
  /// Opens `source` for reading and this handle by kModeReplace, copies all bytes,
  /// flushes, and closes this handle, also when memory runs out. The names are
  /// those that the system opens the two by. False, with the error recorded, when
  /// anything fails: a copy onto itself (ERROR_SHARING_VIOLATION), a source that does
  /// not open and memory that is missing for the copying leave this object untouched,
  /// later failures leave what was copied so far.
  bool FillFrom(SyncHandle& source, const std::wstring& sourceName, const std::wstring& ownName);

 private:
  uint32_t ReplaceBy(SyncHandle& source, std::vector<char>& buffer);
  uint32_t CarryFrom(SyncHandle& source, std::vector<char>& buffer);
  uint32_t FinishTransfer(BOOL done, OVERLAPPED* overlapped, DWORD transferred);

  std::wstring path_;
  UniqueFile osHandle_;
  uint32_t mode_ = kModeClosed;
  uint32_t lastError_ = 0;
  uint8_t openFlag_ = 0;
  std::unique_ptr<CriticalSection> lock_;
  uint8_t noAccounting_ = 1;
};

}  // namespace veskard
