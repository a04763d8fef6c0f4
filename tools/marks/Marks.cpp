#include "tools/marks/Marks.h"

#include <windows.h>

#include "benc/BencValue.h"
#include "benc/BencWriter.h"
#include "core/WindowsOwners.h"
#include "tools/common/ToolError.h"
#include "tools/common/Utf8.h"
#include "util/string/ByteBuilder.h"

namespace veskard {
namespace {

constexpr size_t kDownloadStreamSize = 8;
constexpr int32_t kFolderPlaceholderType = 2;

constexpr const wchar_t* kFolderRecordSuffixes[] = {
    L"\\.sync\\FolderType", L"\\.sync\\ID:com.nimbrel.VeskardAgent", L"\\.sync\\ID:_TYPE"};
constexpr const wchar_t* kPlaceholderSuffixes[] = {L":com.nimbrel.VeskardAgent", L":com.marlowgate.sync",
                                                   L":VLKDOWN"};

std::string Encode(const BencValue& value) {
  ByteBuilder bytes;
  WriteBencoded(bytes, value);
  return std::string(bytes.View());
}

// Little-endian progress, then four unused bytes; no progress is all ones.
std::string EncodeDownloadStream(const PlaceholderRecord& record) {
  uint32_t rest = record.progress.value_or(UINT32_MAX);
  std::string bytes(kDownloadStreamSize, '\0');
  for (size_t i = 0; i < sizeof rest; ++i, rest >>= 8) bytes[i] = static_cast<char>(rest & 0xFF);
  return bytes;
}

bool Exists(const std::wstring& path) {
  return ::GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

void MakeFolders(const std::wstring& folder) {
  if (folder.empty() || Exists(folder)) return;
  const size_t end = folder.find_last_of(L"\\/");
  if (end != std::wstring::npos) MakeFolders(folder.substr(0, end));
  if (!::CreateDirectoryW(folder.c_str(), nullptr) && ::GetLastError() != ERROR_ALREADY_EXISTS) {
    throw LastSystemError("cannot make the folder " + ToUtf8(folder));
  }
}

void MakeFoldersAbove(const std::wstring& path) {
  const size_t end = path.find_last_of(L"\\/");
  if (end != std::wstring::npos) MakeFolders(path.substr(0, end));
}

}  // namespace

void LayFile(const std::wstring& path, std::string_view bytes) {
  MakeFoldersAbove(path);
  const UniqueFile file(
      ::CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file) throw LastSystemError("cannot write " + ToUtf8(path));
  DWORD written = 0;
  const BOOL done =
      ::WriteFile(file.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
  if (!done || written != bytes.size()) throw LastSystemError("cannot write " + ToUtf8(path));
}

void LayRoot(const std::wstring& root) {
  const std::wstring id = root + L"\\.sync\\ID";
  if (!Exists(id)) LayFile(id, "stand-in");
}

void LayFolderRecord(const std::wstring& root, const FolderRecord& record, FolderRecordSource source) {
  LayRoot(root);
  LayFile(root + kFolderRecordSuffixes[static_cast<size_t>(source)], EncodeFolderRecord(record));
}

void LayPlaceholder(const std::wstring& file, const PlaceholderRecord& record, PlaceholderSource source) {
  if (!Exists(file)) LayFile(file, {});
  const bool bencoded = source != PlaceholderSource::kDownloadStream;
  LayFile(file + kPlaceholderSuffixes[static_cast<size_t>(source)],
          bencoded ? EncodePlaceholderRecord(record) : EncodeDownloadStream(record));
}

std::string EncodeFolderRecord(const FolderRecord& record) {
  BencodedDict dictionary;
  dictionary.InsertInt("type", record.type);
  dictionary.InsertInt("mode", record.mode);
  dictionary.InsertInt("disable_remove_from_all_devices", record.disableRemoveFromAllDevices ? 1 : 0);
  if (!record.owner.empty()) dictionary.Insert("owner", BencValue::FromString(record.owner));
  return Encode(dictionary);
}

std::string EncodePlaceholderRecord(const PlaceholderRecord& record) {
  BencodedDict dictionary;
  dictionary.Insert("vlk_status", BencValue::FromInt64(record.progress.value_or(UINT32_MAX)));
  dictionary.InsertInt("vlk_type", record.isFolder ? kFolderPlaceholderType : 1);
  return Encode(dictionary);
}

}  // namespace veskard
