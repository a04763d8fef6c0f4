#include "lang/CheckFile.h"

#include "core/WindowsOwners.h"
#include "fs/util/WriteFileReplacing.h"
#include "lang/CheckText.h"
#include "util/string/CodePage.h"

namespace veskard {
namespace {

constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";
constexpr LONGLONG kMaxSize = 1 << 20;

/// False for a file that is not there, cannot be read whole, or is too large.
bool ReadWholeFile(const std::wstring& path, std::string& bytes) {
  constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
  const UniqueFile file(::CreateFileW(path.c_str(), GENERIC_READ, kShareAll, nullptr, OPEN_EXISTING,
                                      FILE_ATTRIBUTE_NORMAL, nullptr));
  LARGE_INTEGER size{};
  if (!file || ::GetFileSizeEx(file.Get(), &size) == FALSE || size.QuadPart > kMaxSize) return false;
  bytes.resize(static_cast<size_t>(size.QuadPart));
  DWORD count = 0;
  const BOOL isRead = ::ReadFile(file.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &count, nullptr);
  return isRead != FALSE && count == bytes.size();
}

std::wstring DecodeAnsi(std::string_view bytes) {
  size_t length = 0;
  const auto text = MultiByteToWide(::GetACP(), bytes.data(), bytes.size(), &length);
  return text == nullptr ? std::wstring() : std::wstring(text.get(), length);
}

void WriteReport(const std::wstring& path, std::string_view mark, const std::wstring& report) {
  const std::string text = Utf8FromWide(report);
  if (text.empty()) return;  // it cannot be converted: an older report says more than none
  const std::string bytes = std::string(mark) + text;
  WriteFileReplacing(path.c_str(), bytes.data(), static_cast<uint32_t>(bytes.size()));
}

}  // namespace

std::wstring CheckFilePath(const std::wstring& programPath) {
  return programPath + L".lang.txt";
}

std::wstring CheckReportPath(const std::wstring& checkFilePath) {
  return checkFilePath.substr(0, checkFilePath.rfind(L'.')) + L".log";
}

void ApplyCheckFile(LanguageTable& table, const std::wstring& checkFilePath) {
  std::string bytes;
  if (!ReadWholeFile(checkFilePath, bytes)) return;
  const bool isUtf8 = bytes.starts_with(kUtf8Mark);
  const std::string_view encoded = std::string_view(bytes).substr(isUtf8 ? kUtf8Mark.size() : 0);
  const std::wstring text = isUtf8 ? WideFromUtf8(encoded) : DecodeAnsi(encoded);
  if (text.empty() && !encoded.empty()) return;  // the system cannot convert it
  const std::wstring report = ApplyCheckText(table, text);
  if (!report.empty()) WriteReport(CheckReportPath(checkFilePath), isUtf8 ? kUtf8Mark : "", report);
}

}  // namespace veskard
