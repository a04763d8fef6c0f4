// The product's names inside the texts.
#pragma once

#include <string>

namespace veskard {

/// Replaces "%APPNAME%" and then "%APPSHORTNAME%" by the agent's names. Throws
/// std::bad_alloc only.
void ExpandAppNames(std::wstring& text);

}  // namespace veskard
