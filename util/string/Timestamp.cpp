#include "util/string/Timestamp.h"

#include "util/string/CodePage.h"
#include "util/string/strfmt.h"

namespace veskard {

std::string FormatTimestamp(const SYSTEMTIME& time) {
  constexpr int kPartSize = 48;
  wchar_t text[2 * kPartSize] = {};
  // Both calls count the terminator, and return 0 for an invalid time; that part of the
  // text is then empty.
  int length =
      GetDateFormatEx(LOCALE_NAME_USER_DEFAULT, 0, &time, L"yyyy'-'MM'-'dd", text, kPartSize, nullptr);
  if (length == 0) length = 1;
  text[length - 1] = L' ';
  text[length] = L'\0';
  GetTimeFormatEx(LOCALE_NAME_USER_DEFAULT, 0, &time, L"HH':'mm':'ss'", text + length, kPartSize);
  return FormatString("%s.%.3d", Utf8FromWide(text), time.wMilliseconds);
}

}  // namespace veskard
