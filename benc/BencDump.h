// The text dump of bencoded values, for the diagnostic log.
#pragma once

#include <cstddef>

#include "benc/BencValue.h"
#include "util/string/ByteBuilder.h"

namespace veskard {

/// Appends a bracketed, JSON-like rendering of `value`. Callers pass mode 0
/// (escaped text); under certain dictionary keys the dump passes mode 1
/// (hexadecimal) or mode 2 (secret) to itself. Never fails on content; throws
/// std::bad_alloc only.
void DumpValue(ByteBuilder& out, const BencValue& value, int mode);

/// Appends one quoted, escaped string; null bytes give just the quotes.
void DumpEscapedString(ByteBuilder& out, const char* bytes, size_t length);

}  // namespace veskard
