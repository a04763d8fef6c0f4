#include "fs/util/CloudPath.h"

#include "fs/util/TokenVector.h"

namespace veskard {
namespace {

constexpr std::wstring_view kScheme = L"cloud:";
constexpr std::wstring_view kRootScheme = L"cloud:/";
constexpr size_t kRootTokens = 4;  // the scheme and the three segments

std::wstring JoinWithSlashes(const std::vector<std::wstring>& names) {
  std::wstring text;
  for (const std::wstring& name : names) {
    if (!text.empty()) text += L'/';
    text += name;
  }
  return text;
}

}  // namespace

bool IsCloudPath(std::wstring_view text) noexcept {
  return text.starts_with(kScheme);
}

CloudPath ParseCloudPath(std::wstring_view text) {
  CloudPath address;
  TokenVector parts(L'/');
  parts.Assign(text);
  const std::vector<std::wstring>& tokens = parts.Tokens();
  if (tokens.size() < kRootTokens || tokens[0] != kScheme) return address;
  address.segment1 = tokens[1];
  address.segment2 = tokens[2];
  address.segment3 = tokens[3];
  address.tail.assign(tokens.begin() + kRootTokens, tokens.end());
  address.relative = JoinWithSlashes(address.tail);
  return address;
}

std::wstring CloudRoot(const CloudPath& address) {
  std::wstring root(kRootScheme);
  root += L'/';
  for (const std::wstring* segment : {&address.segment1, &address.segment2}) {
    if (segment->empty()) continue;
    root += *segment;
    root += L'/';
  }
  root += address.segment3;
  return root;
}

}  // namespace veskard
