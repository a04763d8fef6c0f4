#include "lang/LineFile.h"

#include <algorithm>

namespace veskard {
namespace {

constexpr std::wstring_view kLineEnds = L"\r\n";

/// The character that a two-character sequence stands for; false where it is none.
bool FindEscape(wchar_t first, wchar_t second, wchar_t& meaning) {
  if (first == L'\\' && second == L'n') {
    meaning = L'\n';
  } else if (first == L'\\' && second == L'r') {
    meaning = L'\r';
  } else if (first == L'|' && second == L'|') {
    meaning = L'\0';
  } else {
    return false;
  }
  return true;
}

}  // namespace

bool LineWalker::Next(std::wstring_view& line) noexcept {
  const size_t start = rest_.find_first_not_of(kLineEnds);
  if (start == std::wstring_view::npos) {
    rest_ = {};
    return false;
  }
  const size_t end = std::min(rest_.find_first_of(kLineEnds, start), rest_.size());
  line = rest_.substr(start, end - start);
  rest_.remove_prefix(end);
  return true;
}

std::wstring UnescapeLine(std::wstring_view line) {
  std::wstring text;
  text.reserve(line.size());
  for (size_t at = 0; at < line.size(); ++at) {
    wchar_t character = line[at];
    if (at + 1 < line.size() && FindEscape(line[at], line[at + 1], character)) ++at;
    text.push_back(character);
  }
  return text;
}

std::wstring EscapeLineBreaks(std::wstring_view text) {
  std::wstring line;
  line.reserve(text.size());
  for (const wchar_t character : text) {
    if (character == L'\r') {
      line += L"\\r";
    } else if (character == L'\n') {
      line += L"\\n";
    } else {
      line.push_back(character);
    }
  }
  return line;
}

}  // namespace veskard
