#include "shellext/contextmenu/marks/SyncFolderInspection.h"

#include <windows.h>

#include <algorithm>
#include <initializer_list>
#include <memory>
#include <utility>

#include "benc/BencParser.h"
#include "benc/BencValue.h"
#include "fs/util/Files.h"
#include "fs/util/Handle.h"
#include "fs/util/LongPath.h"
#include "fs/util/PathText.h"
#include "fs/util/PathVector.h"

namespace veskard {
namespace {

constexpr wchar_t kRootMark[] = L"\\.sync\\ID";
constexpr wchar_t kMetadataFolder[] = L".sync";

// The first component of a network path, without and with the long prefix.
constexpr wchar_t kUncStart[] = L"\\";
constexpr wchar_t kLongUncStart[] = L"\\\\?\\UNC";

// A place of a mark: the suffix to the path of the folder or file that the mark is about,
// and the kind of object.
struct MarkSource {
  HandleKind kind;
  const wchar_t* suffix;
};

// The places are tried in order; the first that opens is the one that counts,
// whatever it holds.
// clang-format off
constexpr std::initializer_list<MarkSource> kFolderInfoSources = {
    {HandleKind::kFile,   L"\\.sync\\FolderType"},
    {HandleKind::kStream, L"\\.sync\\ID\\com.nimbrel.VeskardAgent"},
    {HandleKind::kStream, L"\\.sync\\ID\\_TYPE"},
};
constexpr std::initializer_list<MarkSource> kPlaceholderSources = {
    {HandleKind::kStream, L"\\com.nimbrel.VeskardAgent"},
    {HandleKind::kStream, L"\\com.marlowgate.sync"},  // as the predecessor agent wrote it
};
constexpr std::initializer_list<MarkSource> kProgressSources = {
    {HandleKind::kStream, L"\\VLKDOWN"},
};
// clang-format on

constexpr int64_t kPlaceholderOfFolder = 2;
constexpr uint32_t kNoProgress = 0xFFFFFFFF;

// The first source that opens; null when none does.
std::shared_ptr<SyncHandle> OpenFirst(const std::wstring& path, std::initializer_list<MarkSource> sources) {
  for (const MarkSource& source : sources) {
    auto handle = MakeHandle(PathVector(LongPathForm(path + source.suffix)), source.kind);
    if (handle->Open(kModeRead, 0, 0) && handle->IsOpen()) return handle;
  }
  return nullptr;
}

// Asked of the open mark; by its name, a stream is opened a second time for it. A system
// that does not answer that is asked by name.
uint64_t SizeOf(SyncHandle& mark) {
  const auto state = mark.GetOpenState();
  return state ? state->size : mark.GetSize(nullptr);
}

// One size query, one read into a buffer of exactly that size. None unless the
// bytes are a list or a dictionary.
BencValue ParseMark(SyncHandle& mark) {
  BencValue value;
  const uint64_t size = SizeOf(mark);
  if (size > kLargestMark) return value;
  const auto bytes = std::make_unique_for_overwrite<char[]>(static_cast<size_t>(size));
  const uint32_t read = mark.Read(bytes.get(), static_cast<uint32_t>(size));
  BencParser parser(bytes.get(), bytes.get() + read);
  ParseBencoded(value, parser);
  return value;
}

// Of a mark's integer the lower 32 bits count. The exception is "vlk_type".
uint32_t MarkInteger(const BencValue& dictionary, const char* key) {
  return static_cast<uint32_t>(dictionary.FindInt(key));
}

std::wstring MarkText(const BencValue& dictionary, const char* key) {
  const BencValue* value = dictionary.Find(key);
  return value == nullptr ? std::wstring() : value->AsWString();
}

PlaceholderState StateFrom(const BencValue& mark) {
  PlaceholderState state;
  // A status of another kind than an integer is one all the same: progress 0.
  if (mark.Find("vlk_status") != nullptr) state.progress = RoundProgress(MarkInteger(mark, "vlk_status"));
  state.typeFlag = mark.FindInt("vlk_type") == kPlaceholderOfFolder;
  return state;
}

//   offset  size
//     0      4    progress in percent, unsigned, low byte first
//     4      4    not looked at, but it has to be there
PlaceholderState StateFromProgressMark(SyncHandle& mark) {
  uint64_t word = ~uint64_t{0};
  PlaceholderState state;
  if (mark.Read(&word, sizeof(word)) == sizeof(word)) {
    state.progress = RoundProgress(static_cast<uint32_t>(word));
  }
  return state;
}

// How many components the shortest prefix has that can be a folder: a drive, or the
// share of a network path. What lies above a share names no folder, and a mark
// appended to it would make the system look for a machine called ".sync".
size_t ShortestFolder(const PathVector& path) {
  constexpr size_t kDrive = 1;          // C:  or  \\?\C:
  constexpr size_t kShare = 3;          // \  server  share  or  \\?\UNC  server  share
  constexpr size_t kShareByDevice = 5;  // \  .  UNC  server  share
  const size_t count = path.Count();
  if (count == 0 || (path.At(0) != kUncStart && path.At(0) != kLongUncStart)) return kDrive;
  const bool byDevice = count > 2 && path.At(1) == L"." && SamePathText(path.At(2), L"UNC");
  return byDevice ? kShareByDevice : kShare;
}

}  // namespace

bool IsSyncFolderRoot(std::wstring path) {
  path += kRootMark;
  return FileExists(LongPathForm(std::move(path)).c_str());
}

std::wstring FindSyncFolderRoot(std::wstring path) {
  const PathVector components(path);
  for (size_t count = ShortestFolder(components); count <= components.Count(); ++count) {
    std::wstring prefix = components.ToString(components.Separator(), count);
    if (!IsSyncFolderRoot(prefix)) continue;
    const bool isMetadata = count < components.Count() && components.At(count) == kMetadataFolder;
    return isMetadata ? std::wstring() : prefix;
  }
  return {};
}

bool ReadSyncFolderInfo(std::wstring root, SyncFolderInfo& info) {
  const auto mark = OpenFolderMark(root);
  if (mark == nullptr) return false;
  const BencValue record = ParseMark(*mark);
  info.type = MarkInteger(record, "type");
  info.selective = MarkInteger(record, "mode") != 0;
  info.disableRemoveFromAllDevices = MarkInteger(record, "disable_remove_from_all_devices") != 0;
  info.owner = MarkText(record, "owner");
  return true;
}

bool LiesInSelectiveFolder(const std::wstring& path) {
  const std::wstring root = FindSyncFolderRoot(path);
  SyncFolderInfo info;
  return !root.empty() && ReadSyncFolderInfo(root, info) && info.selective;
}

PlaceholderState ReadPlaceholderState(std::wstring file) {
  if (const auto mark = OpenFirst(file, kPlaceholderSources)) return StateFrom(ParseMark(*mark));
  if (const auto mark = OpenFirst(file, kProgressSources)) return StateFromProgressMark(*mark);
  return {};
}

std::shared_ptr<SyncHandle> OpenFolderMark(const std::wstring& root) {
  return OpenFirst(root, kFolderInfoSources);
}

std::shared_ptr<SyncHandle> OpenPlaceholderMark(const std::wstring& file) {
  auto mark = OpenFirst(file, kPlaceholderSources);
  return mark != nullptr ? mark : OpenFirst(file, kProgressSources);
}

bool IsProgressMark(const SyncHandle& mark) {
  const std::wstring& path = mark.Path();
  return std::any_of(kProgressSources.begin(), kProgressSources.end(),
                     [&](const MarkSource& source) { return path.ends_with(source.suffix); });
}

int32_t RoundProgress(uint32_t value) noexcept {
  if (value == kNoProgress) return -1;
  const auto rounded = static_cast<int32_t>(value - value % 5);
  return std::min(rounded, 100);
}

}  // namespace veskard
