// The seam between the formatter and the layers above it: the formatter prints
// dumps of bencoded values and localised unit names without knowing either.
#pragma once

namespace veskard {

class BencValue;
class ByteBuilder;

/// What the conversions "D" and "Z" ask for. Every program that links the
/// formatter defines `formatServices` once, as a constant.
struct FormatServices {
  /// Appends the text dump of `value` and returns true when it is a dictionary;
  /// returns false, and appends nothing, for every other kind.
  bool (*dumpDictionary)(ByteBuilder& out, const BencValue& value);

  /// The localised text of a size unit by its number in the string table
  /// (0 "B", 1 "EB", 2 "GB", 3 "kB", 4 "MB", 5 "PB", 6 "TB"); never null.
  const wchar_t* (*unitName)(unsigned number);
};

extern const FormatServices formatServices;

}  // namespace veskard
