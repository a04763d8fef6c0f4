#include "tests/shellext/LogFixture.h"

#include <filesystem>
#include <fstream>
#include <regex>
#include <string_view>

namespace veskard::test {
namespace {

constexpr wchar_t kSwitchKey[] = L"Software\\Nimbrel\\Sync";
constexpr wchar_t kSwitchValue[] = L"ShellExtLog";

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

std::wstring MessageOf(const std::wstring& line) {
  static const std::wregex layout(LR"(\d{4}-\d{2}-\d{2} \d{2}:\d{2}:\d{2}\.000 \([^\\/:]+:\d+\) )");
  const size_t message = line.find(L") ") + 2;
  if (message >= 2 && std::regex_match(line.substr(0, message), layout)) return line.substr(message);
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
  WriteRegistryDword(HKEY_LOCAL_MACHINE, kSwitchKey, kSwitchValue, value);
}

void LogFixture::RemoveSwitch() {
  DeleteRegistryValue(HKEY_LOCAL_MACHINE, kSwitchKey, kSwitchValue);
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
