#include "tests/shellext/module/LogFixture.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string_view>

namespace veskard::test {
namespace {

/// The file's bytes without whole blocks of zeros: those are what MakeLongFile
/// made, a hundred megabytes of them.
std::string ReadBytes(const std::wstring& path) {
  std::ifstream in(std::filesystem::path(path), std::ios::binary);
  std::string bytes;
  std::string block(size_t{1} << 16, '\0');
  while (in) {
    in.read(block.data(), static_cast<std::streamsize>(block.size()));
    const std::string_view read(block.data(), static_cast<size_t>(in.gcount()));
    if (read.find_first_not_of('\0') != std::string_view::npos) bytes += read;
  }
  return bytes;
}

std::wstring ReadText(const std::wstring& path) {
  const std::string bytes = ReadBytes(path);
  EXPECT_EQ(bytes.size() % sizeof(wchar_t), 0u) << "half a character";
  std::wstring text(bytes.size() / sizeof(wchar_t), L'\0');
  for (size_t i = 0; i < text.size(); ++i) {
    const auto low = static_cast<unsigned char>(bytes[2 * i]);
    const auto high = static_cast<unsigned char>(bytes[2 * i + 1]);
    text[i] = static_cast<wchar_t>(low | high << 8);
  }
  return text;
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
  std::erase(text, L'\0');  // what MakeLongFile made
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

LogFixture::LogFixture() {
  registry_.SetApplicationData(ApplicationData());
  std::filesystem::create_directory(Folder());
}

std::wstring LogFixture::Folder() const {
  return applicationData_ / L"Nimbrel Veskard Agent";
}

void LogFixture::SetSwitch(DWORD value) {
  SetLogSwitch(value);
}

void LogFixture::RemoveSwitch() {
  DeleteRegistryValue(HKEY_LOCAL_MACHINE, kLogSwitchKey, kLogSwitchValue);
}

void LogFixture::MakeLongFile(uint64_t size) const {
  const UniqueFile file(::CreateFileW(File().c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
  ASSERT_TRUE(file);
  LARGE_INTEGER end = {};
  end.QuadPart = static_cast<LONGLONG>(size);
  ASSERT_TRUE(::SetFilePointerEx(file.Get(), end, nullptr, FILE_BEGIN));
  ASSERT_TRUE(::SetEndOfFile(file.Get()));
}

}  // namespace veskard::test
