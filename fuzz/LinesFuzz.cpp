// Any bytes as line files: what stands before the first NUL as a translation, the
// rest as the English lines beside it and as a check file.
#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>

#include "fuzz/FuzzArena.h"
#include "fuzz/Require.h"
#include "lang/CheckText.h"
#include "lang/LanguageTable.h"
#include "lang/LineFile.h"

namespace veskard {
namespace {

constexpr std::wstring_view kLineEnds = L"\r\n";

// No line is empty or holds a line end, before unescaping and after escaping again.
void CheckLines(std::wstring_view text) {
  LineWalker walker(text);
  for (std::wstring_view line; walker.Next(line);) {
    VESKARD_REQUIRE(!line.empty() && line.find_first_of(kLineEnds) == std::wstring_view::npos);
    const std::wstring unescaped = UnescapeLine(line);
    VESKARD_REQUIRE(!unescaped.empty() && unescaped.size() <= line.size());
    VESKARD_REQUIRE(EscapeLineBreaks(unescaped).find_first_of(kLineEnds) == std::wstring::npos);
  }
}

// Whatever the files hold, the table has a text for every number.
void CheckTable(std::wstring_view translation, std::wstring_view english) {
  LanguageTable table;
  table.Translate(translation, english);
  const std::wstring report = ApplyCheckText(table, english);
  for (size_t number = 0; number < kStringCount; ++number) VESKARD_REQUIRE(!table.Get(number).empty());
  VESKARD_REQUIRE(report.empty() || report.ends_with(kLineEnds));
}

}  // namespace
}  // namespace veskard

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const veskard::fuzz::Execution execution;
  const std::wstring input(data, data + size);
  const size_t end = std::min(input.find(L'\0'), input.size());
  const std::wstring_view translation = std::wstring_view(input).substr(0, end);
  const std::wstring_view rest = std::wstring_view(input).substr(std::min(end + 1, input.size()));
  for (const std::wstring_view text : {translation, rest}) veskard::CheckLines(text);
  veskard::CheckTable(translation, rest);
  return 0;
}
