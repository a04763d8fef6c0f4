// The English texts that are compiled into the library.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "lang/StringIds.h"

namespace veskard {

/// The built-in English text with a number from 0 to kStringCount - 1, placeholders
/// not yet filled in; empty for any other number. ASCII, without embedded NULs, and
/// followed by one. Valid until the library unloads.
std::string_view BuiltInString(size_t number);

}  // namespace veskard
