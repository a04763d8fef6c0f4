#include "tests/support/LogReader.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <string_view>

#include "core/WindowsOwners.h"
#include "fs/util/OpenMode.h"

namespace veskard::test {
namespace {

/// The file's bytes without whole blocks of zeros, of which a test may make a hundred
/// megabytes; empty when there is no file.
std::string ReadBytes(const std::wstring& path) {
  const UniqueFile file(
      ::CreateFileW(path.c_str(), GENERIC_READ, kShareEverything, nullptr, OPEN_EXISTING, 0, nullptr));
  std::string bytes;
  std::string block(size_t{1} << 16, '\0');
  DWORD count = 0;
  while (file && ::ReadFile(file.Get(), block.data(), static_cast<DWORD>(block.size()), &count, nullptr) &&
         count != 0) {
    const std::string_view read(block.data(), count);
    if (read.find_first_not_of('\0') != std::string_view::npos) bytes += read;
  }
  return bytes;
}

std::wstring ReadText(const std::wstring& path) {
  const std::string bytes = ReadBytes(path);
  EXPECT_EQ(bytes.size() % sizeof(wchar_t), 0u) << "half a character";
  return {reinterpret_cast<const wchar_t*>(bytes.data()), bytes.size() / sizeof(wchar_t)};
}

/// Where the digits from `begin` on end.
size_t EndOfDigits(const std::wstring& line, size_t begin) {
  return std::min(line.find_first_not_of(L"0123456789", begin), line.size());
}

bool StartsWithTime(const std::wstring& line) {
  constexpr std::wstring_view kShape = L"dddd-dd-dd dd:dd:dd.000 ";  // "d" is a digit
  return line.size() >= kShape.size() &&
         std::equal(kShape.begin(), kShape.end(), line.begin(), [](wchar_t shape, wchar_t c) {
           return shape == L'd' ? c >= L'0' && c <= L'9' : c == shape;
         });
}

/// Where the message of "TIME (PROCESS:ID) message" begins, or npos for another layout.
size_t BeginOfMessage(const std::wstring& line) {
  constexpr size_t kProcess = 24;  // where the time's characters end
  if (!StartsWithTime(line) || line.size() == kProcess || line[kProcess] != L'(') return std::wstring::npos;
  const size_t nameEnd = line.find_first_of(L"\\/:", kProcess);
  if (nameEnd == std::wstring::npos || nameEnd == kProcess + 1 || line[nameEnd] != L':')
    return std::wstring::npos;
  const size_t idEnd = EndOfDigits(line, nameEnd + 1);
  return idEnd > nameEnd + 1 && line.compare(idEnd, 2, L") ") == 0 ? idEnd + 2 : std::wstring::npos;
}

}  // namespace

std::vector<std::wstring> ReadLogLines(const std::wstring& path) {
  std::wstring text = ReadText(path);
  std::erase(text, L'\0');
  std::vector<std::wstring> lines;
  size_t begin = 0;
  while (begin < text.size()) {
    const size_t end = text.find(L"\r\n", begin);
    EXPECT_NE(end, std::wstring::npos) << "an unfinished line";
    if (end == std::wstring::npos) break;
    lines.push_back(text.substr(begin, end - begin));
    begin = end + 2;
  }
  return lines;
}

bool IsLogLine(const std::wstring& line) {
  return BeginOfMessage(line) != std::wstring::npos;
}

std::wstring MessageOf(const std::wstring& line) {
  if (IsLogLine(line)) return line.substr(BeginOfMessage(line));
  ADD_FAILURE() << "not a log line: " << ::testing::PrintToString(line);
  return line;
}

std::vector<std::wstring> ReadLogMessages(const std::wstring& path) {
  std::vector<std::wstring> messages;
  for (const std::wstring& line : ReadLogLines(path)) messages.push_back(MessageOf(line));
  return messages;
}

LogReader::LogReader(const std::wstring& applicationData) {
  const std::wstring folder = applicationData + L"\\Nimbrel Veskard Agent";
  ::CreateDirectoryW(folder.c_str(), nullptr);
  file_ = folder + L"\\ShellExtCM.log";
}

std::vector<std::wstring> LogReader::NewLines() {
  const std::wstring tag = L":" + std::to_wstring(::GetCurrentProcessId()) + L") ";
  const std::vector<std::wstring> lines = ReadLogLines(file_);
  std::vector<std::wstring> messages;
  for (; linesRead_ < lines.size(); ++linesRead_)
    if (lines[linesRead_].find(tag) != std::wstring::npos) messages.push_back(MessageOf(lines[linesRead_]));
  return messages;
}

}  // namespace veskard::test
