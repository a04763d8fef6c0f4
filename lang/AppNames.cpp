#include "lang/AppNames.h"

#include <string_view>

#include "core/Product.h"

namespace veskard {
namespace {

void ReplaceAll(std::wstring& text, std::wstring_view placeholder, std::wstring_view name) {
  size_t at = text.find(placeholder);
  while (at != std::wstring::npos) {
    text.replace(at, placeholder.size(), name);
    at = text.find(placeholder, at + name.size());
  }
}

}  // namespace

void ExpandAppNames(std::wstring& text) {
  ReplaceAll(text, L"%APPNAME%", kAgentName);
  ReplaceAll(text, L"%APPSHORTNAME%", kAgentShortName);
}

}  // namespace veskard
