// Any bytes as line files: the text before the first NUL as a translation, the rest
// as the English lines beside it and as a check file.
#include <algorithm>
#include <cstdint>
#include <cstdlib>

#include "lang/CheckText.h"
#include "lang/LineFile.h"
#include "lang/StringTable.h"

namespace {

void Require(bool condition) {
  if (!condition) std::abort();
}

/// No line is empty or holds its end, also after unescaping and escaping again.
void WalkLines(std::wstring_view text) {
  veskard::LineWalker walker(text);
  for (std::wstring_view line; walker.Next(line);) {
    Require(!line.empty() && line.find_first_of(L"\r\n") == std::wstring_view::npos);
    const std::wstring unescaped = veskard::UnescapeLine(line);
    Require(!unescaped.empty() && unescaped.size() <= line.size());
    Require(veskard::EscapeLineBreaks(unescaped).find_first_of(L"\r\n") == std::wstring::npos);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::wstring input(data, data + size);
  const size_t end = std::min(input.find(L'\0'), input.size());
  const std::wstring_view translation = std::wstring_view(input).substr(0, end);
  const std::wstring_view english = std::wstring_view(input).substr(std::min(end + 1, input.size()));
  WalkLines(translation);
  WalkLines(english);

  veskard::StringTable table;
  table.Translate(translation, english);
  const std::wstring report = veskard::ApplyCheckText(table, english);
  for (size_t number = 0; number < veskard::kStringCount; ++number) Require(!table.Get(number).empty());
  Require(report.empty() || report.ends_with(L"\r\n"));
  return 0;
}
