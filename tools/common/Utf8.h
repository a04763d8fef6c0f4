// The tools' conversions: texts are wide inside, UTF-8 on the outside.
#pragma once

#include <string>
#include <string_view>

namespace veskard {

std::string ToUtf8(std::wstring_view text);
std::wstring FromUtf8(std::string_view bytes);

/// Whether the bytes are well-formed UTF-8; no bytes are.
bool IsUtf8(std::string_view bytes);

}  // namespace veskard
