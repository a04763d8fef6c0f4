#include "lang/CheckFile.h"

#include <windows.h>

#include <cstdint>
#include <new>
#include <string_view>

#include "fs/util/Files.h"
#include "fs/util/WriteFileReplacing.h"
#include "lang/CheckText.h"
#include "util/string/CodePage.h"

namespace veskard {
namespace {

constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";
constexpr uint32_t kMaxSize = 1 << 20;

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
  size_t size = 0;
  ::SetLastError(ERROR_SUCCESS);
  const auto file = ReadWholeFile(checkFilePath, size, kMaxSize);
  // The next load tries again; after any other failure there is no check file.
  if (file == nullptr && ::GetLastError() == ERROR_OUTOFMEMORY) throw std::bad_alloc();
  if (file == nullptr) return;
  const std::string_view bytes(file.get(), size);
  const bool isUtf8 = bytes.starts_with(kUtf8Mark);
  const std::string_view encoded = bytes.substr(isUtf8 ? kUtf8Mark.size() : 0);
  const std::wstring text = isUtf8 ? WideFromUtf8(encoded) : DecodeAnsi(encoded);
  if (text.empty() && !encoded.empty()) return;  // the system cannot convert it
  const std::wstring report = ApplyCheckText(table, text);
  if (!report.empty()) WriteReport(CheckReportPath(checkFilePath), isUtf8 ? kUtf8Mark : "", report);
}

}  // namespace veskard
