// FileInfoImpl: a snapshot of what the system knows about one path.
#pragma once

#include <windows.h>

#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "fs/util/StreamList.h"

namespace veskard {

/// What Refresh does; other bits are ignored.
enum RefreshFlags : uint32_t {
  kRefreshExactName = 1,   // the last component must equal the name on disk, letter case and all
  kRefreshSecurity = 2,    // read owner, group and access list
  kRefreshByOpening = 4,   // no directory look-up: open the object
  kRefreshPathOnDisk = 8,  // obtain the final path; opens the object as well
};

/// The operations of a file information record.
class FileInfoImplBase {
 public:
  virtual ~FileInfoImplBase() = default;

  /// False after a failure; else whether the directory attribute is clear.
  virtual bool IsFile() const = 0;
  /// The attribute bits alone (16, 1024 and 8), whatever the error.
  virtual bool IsDirectory() const = 0;
  virtual bool IsReparsePoint() const = 0;
  virtual bool IsAttributeBit3() const = 0;

  virtual uint64_t GetSize() const = 0;
  /// High and low half; both 0 when the last fill was a directory look-up.
  virtual std::pair<uint32_t, uint32_t> GetFileIndex() const = 0;

  /// Seconds since 1970; 0 for a time that they cannot express.
  virtual uint32_t GetLastWriteTime() const = 0;
  virtual uint32_t GetCreationTime() const = 0;
  virtual uint32_t GetLastAccessTime() const = 0;

  /// -1 for an empty path or after a failure; 0 when the last fill was a
  /// directory look-up, which has no such number.
  virtual int64_t GetVolumeSerial() const = 0;

  /// SDDL parts with full account SIDs (fs/util/Security.h); empty until a
  /// refresh with kRefreshSecurity succeeds. Owner and group have two accessors each.
  virtual std::wstring GetOwner() const = 0;
  virtual std::wstring GetGroup() const = 0;
  virtual std::wstring GetOwnerText() const = 0;
  virtual std::wstring GetGroupText() const = 0;
  virtual std::wstring GetAccessList() const = 0;

  /// The streams that ReadStreams found last; one shared empty list when none.
  virtual const StreamEntryList& GetStreams() const = 0;

  /// Fills the record. False on failure, with the reason in Error(): 2 also for a name
  /// that differs from the one on disk under kRefreshExactName. Success does not
  /// clear an error that an earlier refresh, or the refused look-up of this one
  /// (5), has left.
  virtual bool Refresh(uint32_t flags) = 0;

  /// True unless the error is 2, 3 (not found) or 123 (no valid name): an object
  /// that may not be looked at exists.
  virtual bool Exists() const = 0;

  /// Lists the non-empty named streams. Failures leave the list empty: an object
  /// that cannot be opened (its error), a file system without streams (the
  /// thread's last error, whatever that is), an inconsistent answer
  /// (ERROR_INVALID_DATA), a system without the query (ERROR_PROC_NOT_FOUND).
  /// Memory running out while the answer grows, and a stream name of 261
  /// characters or more, stop the process.
  virtual bool ReadStreams() = 0;

  /// Drops inherited access entries that repeat an explicit one.
  virtual bool StripInheritedDuplicates() = 0;
};

/// A record belongs to the holders of its shared pointer; it has no lock. Only
/// std::bad_alloc is thrown.
class FileInfoImpl : public FileInfoImplBase {
 public:
  explicit FileInfoImpl(std::wstring path) noexcept : path_(std::move(path)) {}

  bool IsFile() const override;
  bool IsDirectory() const override;
  bool IsReparsePoint() const override;
  bool IsAttributeBit3() const override;
  uint64_t GetSize() const override;
  std::pair<uint32_t, uint32_t> GetFileIndex() const override;
  uint32_t GetLastWriteTime() const override;
  uint32_t GetCreationTime() const override;
  uint32_t GetLastAccessTime() const override;
  int64_t GetVolumeSerial() const override;
  std::wstring GetOwner() const override { return owner_; }
  std::wstring GetGroup() const override { return group_; }
  std::wstring GetOwnerText() const override { return owner_; }
  std::wstring GetGroupText() const override { return group_; }
  std::wstring GetAccessList() const override { return accessList_; }
  const StreamEntryList& GetStreams() const override;
  bool Refresh(uint32_t flags) override;
  bool Exists() const override;
  bool ReadStreams() override;
  bool StripInheritedDuplicates() override;

  const std::wstring& Path() const noexcept { return path_; }
  /// As the file system spells it, with its long-path prefix; empty until a
  /// refresh with kRefreshPathOnDisk succeeds.
  const std::wstring& PathOnDisk() const noexcept { return pathOnDisk_; }
  uint32_t Error() const noexcept { return error_; }
  uint32_t LinkCount() const noexcept { return linkCount_; }

 private:
  enum class LookUp { kFilled, kFailed, kMustOpen };

  bool Fail(uint32_t error) noexcept;
  LookUp FillFromDirectory(uint32_t flags);
  bool FillFromOpening(uint32_t flags);
  bool FillFromHandle(HANDLE file);
  template <class Description>
  void Fill(const Description& description) noexcept;
  bool CheckFinalPath(HANDLE file, uint32_t flags);
  bool ReadSecurity();

  std::wstring path_;
  std::wstring pathOnDisk_;
  std::wstring reserved_;
  uint32_t error_ = 0;
  StreamEntryList streams_;
  uint32_t attributes_ = 0;
  FILETIME creationTime_ = {};
  FILETIME lastAccessTime_ = {};
  FILETIME lastWriteTime_ = {};
  uint32_t volumeSerial_ = 0;
  uint32_t sizeHigh_ = 0;
  uint32_t sizeLow_ = 0;
  uint32_t linkCount_ = 0;
  uint32_t fileIndexHigh_ = 0;
  uint32_t fileIndexLow_ = 0;
  std::wstring accessList_;
  std::wstring owner_;
  std::wstring group_;
};

/// A record of `path`, refreshed once with kRefreshExactName.
std::shared_ptr<FileInfoImpl> MakeFileInfo(std::wstring path);

}  // namespace veskard
