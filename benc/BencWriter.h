// The bencode writer.
#pragma once

#include "benc/BencValue.h"
#include "util/string/ByteBuilder.h"

namespace veskard {

/// Appends the bencoding of `value`: integers and booleans as i<decimal>e,
/// strings as <length>:<bytes>, lists as l...e, dictionaries as d...e in
/// ascending key order. None and Null write nothing; inside a dictionary only
/// their key is written. Throws std::bad_alloc only.
void WriteBencoded(ByteBuilder& out, const BencValue& value);

}  // namespace veskard
