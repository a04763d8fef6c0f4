#include "fs/util/WriteFileReplacing.h"

#include <windows.h>

#include <cstdlib>
#include <string>
#include <string_view>

#include "core/WindowsOwners.h"
#include "fs/util/Files.h"
#include "fs/util/OpenMode.h"
#include "util/string/strfmt.h"

namespace veskard {
namespace {

constexpr std::wstring_view kLongPathPrefix = L"\\\\?\\";
constexpr size_t kLongNameSize = 32767;
constexpr size_t kNameSize = 260;

// Nothing in this system sets another seed: every call draws the same number.
constexpr unsigned kRandomSeed = 1;

// A formatted name, cut where a buffer of `size` characters ends.
template <class... Args>
std::wstring CutName(size_t size, const wchar_t* format, const Args&... args) {
  std::wstring name(size, L'\0');
  name.resize(FormatBuffer(name.data(), size, format, args...));
  return name;
}

// Where the new contents are written: straight to a path without a file, beside a
// file that is there.
std::wstring TargetName(const wchar_t* path, bool exists) {
  const bool isLong = std::wstring_view(path).starts_with(kLongPathPrefix);
  return CutName(isLong ? kLongNameSize : kNameSize, L"%s%s", path, exists ? L".new" : L"");
}

// A name that was cut to the path, or shorter, is not a side file's name. Nor is the path
// with a dot: the system takes a plain one for the path, and behind the
// long-path prefix the replacement and the backup would both have that name.
bool IsSideName(const std::wstring& name, const wchar_t* path) noexcept {
  return name.size() >= std::wstring_view(path).size() + 2;
}

bool WriteTarget(const std::wstring& target, const void* buffer, uint32_t size) noexcept {
  const UniqueFile file(::CreateFileW(target.c_str(), kReadWriteAccess, kShareEverything, nullptr,
                                      CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
  DWORD written = 0;
  // A full disk shows as a short write that succeeds.
  return file && ::WriteFile(file.Get(), buffer, size, &written, nullptr) && written == size;
}

// The names around one replacement. The second and third are cut at 259
// characters whatever the path's length, so that the replacement's name is the
// target's except for the longest paths.
struct SideFiles {
  std::wstring target;
  std::wstring replacement;
  std::wstring backup;
};

SideFiles NameSideFiles(const wchar_t* path, std::wstring target) {
  std::srand(kRandomSeed);
  const auto number = static_cast<unsigned>(std::rand());
  return {std::move(target), CutName(kNameSize, L"%s.new", path),
          CutName(kNameSize, L"%s.%u.tmp", path, number)};
}

// The fallback when the file could not be replaced: whether its old contents can be
// copied over the new ones is the result, deliberately. The copy has the old file's
// attributes too, so that it may be read-only when it is deleted.
bool KeepOldContents(const wchar_t* path, const std::wstring& target) noexcept {
  const BOOL copied = ::CopyFileW(path, target.c_str(), FALSE);
  DeleteEvenIfReadOnly(target.c_str());
  return copied != FALSE;
}

bool TakePlace(const wchar_t* path, const SideFiles& files) noexcept {
  // With other names, replacing and cleaning up would destroy the file itself, or another
  // file whose name is the beginning of this one.
  if (!IsSideName(files.replacement, path) || !IsSideName(files.backup, path)) {
    return KeepOldContents(path, files.target);
  }
  const wchar_t* const replacement = files.replacement.c_str();
  const wchar_t* const backup = files.backup.c_str();
  // Almost always one and the same file: then this does nothing.
  ::CopyFileW(files.target.c_str(), replacement, FALSE);
  const BOOL replaced =
      ::ReplaceFileW(path, replacement, backup, REPLACEFILE_IGNORE_MERGE_ERRORS, nullptr, nullptr);
  // A replacement that fails half-way leaves the old contents under the backup's name.
  if (!replaced && !FileExists(path) && !::MoveFileExW(backup, path, 0)) return false;
  ::DeleteFileW(backup);
  const bool done = replaced || KeepOldContents(path, files.target);
  if (files.replacement != files.target) DeleteEvenIfReadOnly(replaced ? files.target.c_str() : replacement);
  return done;
}

}  // namespace

bool WriteFileReplacing(const wchar_t* path, const void* buffer, uint32_t size) {
  const bool exists = FileExists(path);
  std::wstring target = TargetName(path, exists);
  // A path of this length leaves no room for a side file's name: the old content stays.
  if (exists && !IsSideName(target, path)) return false;
  if (!WriteTarget(target, buffer, size)) return false;
  return !exists || TakePlace(path, NameSideFiles(path, std::move(target)));
}

}  // namespace veskard
