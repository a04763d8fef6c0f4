// Marks: writes an agent's marks for folders and placeholders, for demonstrations and
// tests.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace veskard {

/// Where a folder's record lies. They are read in this order:
///
///     ROOT\.sync\FolderType                          kFile
///     ROOT\.sync\ID:com.nimbrel.VeskardAgent         kStream
///     ROOT\.sync\ID:_TYPE                            kTypeStream
enum class FolderRecordSource { kFile, kStream, kTypeStream };

struct FolderRecord {
  int32_t type = 2;  // 2: content may be removed from all devices
  int32_t mode = 1;  // not 0: a selective-sync folder
  bool disableRemoveFromAllDevices = false;
  std::string owner = {};  // UTF-8; empty: everyone, and no entry
};

/// Where a placeholder's state lies:
///
///     FILE:com.nimbrel.VeskardAgent                  kStream, bencoded
///     FILE:com.marlowgate.sync                       kPredecessorStream, bencoded
///     FILE:VLKDOWN                                   kDownloadStream, 8 bytes: progress, 0
enum class PlaceholderSource { kStream, kPredecessorStream, kDownloadStream };

struct PlaceholderRecord {
  std::optional<uint32_t> progress = {};  // percent; none: not being received
  bool isFolder = false;                  // kDownloadStream cannot say it
};

// All of these make the folders on the way, replace existing marks, and throw
// ToolError when something cannot be written.

/// Marks `root` as a synchronised folder: `.sync\ID`, and nothing about it.
void LayRoot(const std::wstring& root);

/// Writes a folder's record; the folder is marked as a root too.
void LayFolderRecord(const std::wstring& root, const FolderRecord& record, FolderRecordSource source);

/// Makes a placeholder: an empty file when it is missing, and its state.
void LayPlaceholder(const std::wstring& file, const PlaceholderRecord& record, PlaceholderSource source);

/// Writes a whole file, or a stream of one ("C:\f:name").
void LayFile(const std::wstring& path, std::string_view bytes);

/// The bencoded records themselves.
std::string EncodeFolderRecord(const FolderRecord& record);
std::string EncodePlaceholderRecord(const PlaceholderRecord& record);

}  // namespace veskard
