#include "tests/shellext/contextmenu/StandInNetwork.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <vector>

namespace veskard::test {
namespace {

Answers answers = Answers::kLiterally;
int driveTypesAsked = 0;
int universalNamesAsked = 0;

wchar_t Capital(wchar_t c) {
  return c >= L'a' && c <= L'z' ? static_cast<wchar_t>(c - L'a' + L'A') : c;
}

bool HasDrive(const std::wstring& path) {
  return path.size() >= 2 && path[1] == L':' && Capital(path[0]) >= L'A' && Capital(path[0]) <= L'Z';
}

struct Drive {
  wchar_t letter;
  UINT type;
  DWORD result;
  std::wstring share;
};

const Drive& DriveWith(wchar_t letter) {
  static const Drive drives[] = {
      {L'A', DRIVE_REMOVABLE, ERROR_NOT_CONNECTED, {}},
      {L'C', DRIVE_FIXED, ERROR_NOT_CONNECTED, {}},
      {L'D', DRIVE_RAMDISK, ERROR_NOT_CONNECTED, {}},
      {L'E', DRIVE_CDROM, ERROR_NOT_CONNECTED, {}},
      {L'F', DRIVE_FIXED, ERROR_NOT_CONNECTED, {}},
      {L'X', DRIVE_REMOTE, NO_ERROR, L"\\\\server\\share"},
      {L'Y', DRIVE_REMOTE, NO_ERROR, L"\\\\server\\share\\a folder\\below"},
      {L'V', DRIVE_REMOTE, ERROR_NOT_CONNECTED, {}},
      {L'R', DRIVE_NO_ROOT_DIR, ERROR_CONNECTION_UNAVAIL, {}},
      {L'O', DRIVE_REMOTE, ERROR_NO_NETWORK, {}},
      {L'P', DRIVE_REMOTE, NO_ERROR, {}},
      {L'L', DRIVE_REMOTE, NO_ERROR, L"\\\\server\\" + std::wstring(40000, L's')},
      {0, DRIVE_NO_ROOT_DIR, ERROR_NOT_CONNECTED, {}},
  };
  const Drive* drive = drives;
  while (drive->letter != 0 && drive->letter != letter) ++drive;
  return *drive;
}

UINT WINAPI DriveType(const wchar_t* root) {
  ++driveTypesAsked;
  EXPECT_EQ(std::wstring(root).substr(1), L":\\") << "the root and nothing else";
  return DriveWith(Capital(root[0])).type;
}

// Without empty parts and without dots, blanks and parts that say nothing.
std::wstring Tidied(const std::wstring& rest) {
  std::wstring tidy, part;
  for (const wchar_t c : rest + L'\\') {
    if (c != L'\\' && c != L'/') {
      part += c;
      continue;
    }
    while (part.ends_with(L'.') || part.ends_with(L' ')) part.pop_back();
    if (!part.empty()) tidy += L'\\' + part;
    part.clear();
  }
  return tidy;
}

std::wstring NameOn(const Drive& drive, const std::wstring& path) {
  const std::wstring rest = path.substr(2);
  if (rest == L"\\") return drive.share + (answers == Answers::kSharesBare ? L"" : L"\\");
  return drive.share + (answers == Answers::kTidily ? Tidied(rest) : rest);
}

DWORD Write(const std::wstring& name, void* buffer, DWORD* size) {
  const size_t needed = sizeof(UNIVERSAL_NAME_INFOW) + (name.size() + 1) * sizeof(wchar_t);
  const bool fits = needed <= *size;
  *size = static_cast<DWORD>(needed);
  if (!fits) return ERROR_MORE_DATA;
  auto* const info = static_cast<UNIVERSAL_NAME_INFOW*>(buffer);
  info->lpUniversalName = reinterpret_cast<wchar_t*>(info + 1);
  std::memcpy(info->lpUniversalName, name.c_str(), (name.size() + 1) * sizeof(wchar_t));
  return NO_ERROR;
}

DWORD WINAPI UniversalName(const wchar_t* path, DWORD level, void* buffer, DWORD* size) {
  ++universalNamesAsked;
  EXPECT_EQ(level, static_cast<DWORD>(UNIVERSAL_NAME_INFO_LEVEL));
  EXPECT_EQ(*size, 65544u);
  if (!HasDrive(path)) return ERROR_BAD_DEVICE;
  const Drive& drive = DriveWith(Capital(path[0]));
  if (drive.result == NO_ERROR && drive.share.empty()) *size = 0;
  if (drive.result != NO_ERROR || drive.share.empty()) return drive.result;
  return Write(NameOn(drive, path), buffer, size);
}

}  // namespace

NetworkCalls StandInNetwork(Answers how) {
  answers = how;
  driveTypesAsked = universalNamesAsked = 0;
  return {&DriveType, &UniversalName};
}

int DriveTypesAsked() {
  return driveTypesAsked;
}

int UniversalNamesAsked() {
  return universalNamesAsked;
}

std::wstring UniversalNameByItself(const std::wstring& path) {
  std::vector<std::byte> buffer(65544);
  DWORD size = 65544;
  const DWORD result = UniversalName(path.c_str(), UNIVERSAL_NAME_INFO_LEVEL, buffer.data(), &size);
  if (result != NO_ERROR || size == 0) return path;
  return reinterpret_cast<const UNIVERSAL_NAME_INFOW*>(buffer.data())->lpUniversalName;
}

}  // namespace veskard::test
