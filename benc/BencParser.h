// The bencode tokenizer and the parser that turns its tokens into values.
#pragma once

#include <cstddef>

#include "benc/BencValue.h"

namespace veskard {

enum class BencToken {
  TokError = 0,       // malformed, or the cursor is past the end
  TokInt = 1,         // text: the characters after "i"
  TokString = 2,      // text: the bytes
  TokListStart = 3,   // "l"
  TokDictStart = 4,   // "d"
  TokEnd = 5,         // "e"
  TokEndOfInput = 6,  // the cursor stands exactly at the end
};

/// A source of tokens.
class IBencParser {
 public:
  virtual ~IBencParser() = default;
  /// The next token; its text starts at *text and is *length bytes long.
  virtual BencToken NextToken(const char** text, size_t* length) = 0;
};

/// Tokens of a buffer, which the parser does not own. The buffer must be
/// writable (a malformed integer is repaired in place) and outlive the parser;
/// nothing outside [begin, end) is read or written.
class BencParser final : public IBencParser {
 public:
  BencParser(char* begin, char* end) noexcept : cursor_(begin), end_(end) {}
  BencToken NextToken(const char** text, size_t* length) noexcept override;

 private:
  BencToken StringToken(char first, const char** text, size_t* length) noexcept;
  BencToken IntegerToken(const char** text, size_t* length) noexcept;

  char* cursor_;
  char* end_;
};

/// Parses one list or dictionary into `target`; what follows it is ignored.
/// Returns false, with `target` None, when the input is malformed or starts with
/// anything else. Nesting is bounded by memory only. Throws std::bad_alloc only.
bool ParseBencoded(BencValue& target, IBencParser& parser);

}  // namespace veskard
