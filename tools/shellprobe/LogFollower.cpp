#include "tools/shellprobe/LogFollower.h"

#include <windows.h>

#include <cstring>
#include <utility>

#include "fs/util/OpenMode.h"

namespace veskard {
namespace {

// UTF-16LE, as the log is written.
constexpr std::string_view kLineEnd("\r\0\n\0", 4);

UniqueFile OpenShared(const std::wstring& path) {
  return UniqueFile(::CreateFileW(path.c_str(), GENERIC_READ, kShareEverything, nullptr, OPEN_EXISTING,
                                  FILE_ATTRIBUTE_NORMAL, nullptr));
}

bool SameFile(HANDLE one, HANDLE other) {
  BY_HANDLE_FILE_INFORMATION first = {};
  BY_HANDLE_FILE_INFORMATION second = {};
  if (!::GetFileInformationByHandle(one, &first) || !::GetFileInformationByHandle(other, &second))
    return false;
  return first.dwVolumeSerialNumber == second.dwVolumeSerialNumber &&
         first.nFileIndexHigh == second.nFileIndexHigh && first.nFileIndexLow == second.nFileIndexLow;
}

// While a process holds a deleted file, some file systems refuse a new file of its name.
// When the system does not answer, the result is no.
bool IsDeletePending(HANDLE file) {
  FILE_STANDARD_INFO information = {};
  return ::GetFileInformationByHandleEx(file, FileStandardInfo, &information, sizeof information) &&
         information.DeletePending;
}

// Where a line's end begins, at an even byte; npos without one.
size_t FindLineEnd(std::string_view bytes) {
  size_t end = bytes.find(kLineEnd);
  while (end != std::string_view::npos && end % 2 != 0) end = bytes.find(kLineEnd, end + 1);
  return end;
}

std::wstring TextOf(std::string_view bytes) {
  std::wstring text(bytes.size() / sizeof(wchar_t), L'\0');
  std::memcpy(text.data(), bytes.data(), text.size() * sizeof(wchar_t));
  return text;
}

bool IsSameName(std::wstring_view one, std::wstring_view other) {
  return ::CompareStringOrdinal(one.data(), static_cast<int>(one.size()), other.data(),
                                static_cast<int>(other.size()), TRUE) == CSTR_EQUAL;
}

bool IsTag(std::wstring_view text) {
  const size_t colon = text.rfind(L':');
  const bool hasNumber = colon != std::wstring_view::npos && colon + 1 < text.size();
  return hasNumber && text.find_first_not_of(L"0123456789", colon + 1) == std::wstring_view::npos;
}

// "explorer.exe:4412" out of "TIME (explorer.exe:4412) MESSAGE"; the program's own
// name may have brackets too.
std::wstring_view TagOf(std::wstring_view line) {
  const size_t start = line.find(L'(') + 1;
  if (start == 0) return {};
  for (size_t end = line.find(L") ", start); end != std::wstring_view::npos;
       end = line.find(L") ", end + 1)) {
    const std::wstring_view tag = line.substr(start, end - start);
    if (IsTag(tag)) return tag;
  }
  return {};
}

}  // namespace

std::vector<std::wstring> LogFollower::ReadNewLines() {
  std::vector<std::wstring> lines;
  ReadToEnd(previous_, lines);
  if (current_.file && WasReplaced()) {
    // To its end first: what was written before the change comes before the new file's start.
    ReadToEnd(current_, lines);
    previous_ = std::exchange(current_, Source());
  }
  if (!current_.file) current_.file = OpenShared(path_);
  ReadToEnd(current_, lines);
  return lines;
}

bool LogFollower::WasReplaced() const {
  const UniqueFile now = OpenShared(path_);
  return now && !SameFile(now.Get(), current_.file.Get());
}

void LogFollower::ReadToEnd(Source& source, std::vector<std::wstring>& lines) {
  if (!source.file) return;
  char buffer[64 * 1024];
  DWORD count = 0;
  while (::ReadFile(source.file.Get(), buffer, sizeof buffer, &count, nullptr) && count != 0) {
    source.bytes.append(buffer, count);
    TakeLines(source.bytes, lines);
  }
  if (IsDeletePending(source.file.Get())) source = Source();
}

void LogFollower::TakeLines(std::string& bytes, std::vector<std::wstring>& lines) {
  size_t start = 0;
  for (;;) {
    const std::string_view rest = std::string_view(bytes).substr(start);
    const size_t end = FindLineEnd(rest);
    if (end == std::string_view::npos) break;
    lines.push_back(TextOf(rest.substr(0, end)));
    start += end + kLineEnd.size();
  }
  bytes.erase(0, start);
}

bool IsLineOfProcess(std::wstring_view line, std::wstring_view process) {
  const std::wstring_view tag = TagOf(line);
  if (tag.empty()) return false;
  const size_t colon = tag.rfind(L':');
  return IsSameName(tag, process) || IsSameName(tag.substr(0, colon), process) ||
         IsSameName(tag.substr(colon + 1), process);
}

}  // namespace veskard
