// Bencoded values in tests: from text and back.
#pragma once

#include <string>
#include <string_view>

#include "benc/BencValue.h"

namespace veskard::test {

/// Parses a text that lies against a forbidden page; None when it is refused.
BencValue Parsed(std::string_view text);

std::string Written(const BencValue& value);
std::string Dumped(const BencValue& value, int mode = 0);

}  // namespace veskard::test
