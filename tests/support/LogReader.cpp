#include "tests/support/LogReader.h"

#include <windows.h>

#include "core/WindowsOwners.h"

namespace veskard::test {
namespace {

// The file as characters; empty when there is none.
std::wstring ReadText(const std::wstring& path) {
  const UniqueFile file(::CreateFileW(path.c_str(), GENERIC_READ,
                                      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                      OPEN_EXISTING, 0, nullptr));
  if (!file) return {};
  std::wstring text(::GetFileSize(file.Get(), nullptr) / sizeof(wchar_t), L'\0');
  DWORD read = 0;
  ::ReadFile(file.Get(), text.data(), static_cast<DWORD>(text.size() * sizeof(wchar_t)), &read, nullptr);
  text.resize(read / sizeof(wchar_t));
  return text;
}

}  // namespace

LogReader::LogReader(const std::wstring& applicationData) {
  const std::wstring folder = applicationData + L"\\Nimbrel Veskard Agent";
  ::CreateDirectoryW(folder.c_str(), nullptr);
  file_ = folder + L"\\ShellExtCM.log";
}

std::vector<std::wstring> LogReader::NewLines() {
  const std::wstring text = ReadText(file_);
  const std::wstring tag = L":" + std::to_wstring(::GetCurrentProcessId()) + L") ";
  std::vector<std::wstring> lines;
  for (size_t end; (end = text.find(L"\r\n", position_)) != std::wstring::npos; position_ = end + 2) {
    const std::wstring line = text.substr(position_, end - position_);
    if (const size_t at = line.find(tag); at != std::wstring::npos)
      lines.push_back(line.substr(at + tag.size()));
  }
  return lines;
}

}  // namespace veskard::test
