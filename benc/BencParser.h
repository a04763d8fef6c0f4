// The bencode tokenizer and the parser that turns its tokens into values.
//
// How one parse runs through this folder:
//
//     bytes    d4:name3:abce, in the caller's buffer
//       |      BencParser cuts them into tokens, in place
//     tokens   TokDictStart, TokString "name", TokString "abc", TokEnd
//       |      ParseBencoded keeps the open lists and dictionaries on a stack of its own
//       |      (InlineStack) and puts what it reads into the innermost one: BencBuilder
//       |      fills scalars and lists, BencTree inserts into dictionaries
//     blocks   BencPayload.h lays them out, BencHeap cuts them from slabs
//       |
//     values   BencValue is what callers see
//
// A finished value is visited in order by BencWalk, on which copying, BencWriter and
// BencDump are built, and destroyed by BencDemolition. Nothing here calls itself: depth
// is bounded by memory only.
#pragma once

#include <cstddef>
#include <functional>

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
  /// The next token; its text starts at *text and is *length bytes long. The
  /// length is 0 for every token without a text, and for every error but one: a
  /// string that claims more bytes than there are keeps its length, and after it
  /// there is nothing but errors.
  virtual BencToken NextToken(const char** text, size_t* length) = 0;
  /// The end of the bytes that token texts point into: the conversion of an
  /// integer may look past its token, but not past this. Null when there is no
  /// such place; the conversion then stays within the token.
  virtual const char* InputEnd() const noexcept { return nullptr; }
};

/// Tokens of a buffer, which the parser does not own. The buffer must be
/// writable (a malformed integer is repaired in place) and outlive the parser;
/// nothing outside [begin, end) is read or written. With `begin` beyond `end` there are
/// only errors.
///
///     d 4:name 3:abc 4:size i 12 e e
///     | |            |      |    | +-- TokEnd
///     | TokString    ...    |    +---- belongs to the integer
///     TokDictStart          TokInt, text "12"
///
/// Deliberately accepted:
///
///     05:abcde       leading zeros of a length: the string "abcde"
///     ie             no digit at all: an integer token without text
///     i-e            a sign without digits: the text "-", converted as 0
///     i42x           the token ends before the "x", which is read next
///     i42:xxx        a ":" in place of the "e"; the input is repaired: when 13
///                    bytes after the "i" (not counting it) lie beyond the end,
///                    the ":" becomes "e" and reading goes on behind it; else
///                    the byte 13 places after the token's start becomes "e",
///                    whatever it was, and reading goes on behind that one
class BencParser final : public IBencParser {
 public:
  BencParser(char* begin, char* end) noexcept : cursor_(begin), end_(end) {}
  BencToken NextToken(const char** text, size_t* length) noexcept override;
  const char* InputEnd() const noexcept override { return end_; }

 private:
  BencToken StringToken(char first, const char** text, size_t* length) noexcept;
  BencToken IntegerToken(const char** text, size_t* length) noexcept;
  void RepairInteger(const char* start, size_t* length) noexcept;
  bool IsBeyondEnd() const noexcept { return cursor_ == nullptr || std::less<>()(end_, cursor_); }
  size_t Remaining() const noexcept { return static_cast<size_t>(end_ - cursor_); }

  char* cursor_;  // null once a string has moved it past the end
  char* end_;
};

/// Parses one list or dictionary into `target`; what follows it is ignored.
/// Returns false, with `target` None, when the input is malformed or starts with
/// anything else. Nesting is bounded by memory only. Throws std::bad_alloc only,
/// and then `target` is None too.
///
/// Dictionaries are strict: a key must be a string that is not there yet, a value
/// must follow it, any error fails the parse. Lists deliberately accept errors:
///
///     l1:ax1:be      an error after a scalar is skipped: "a", "b"
///     lx1:ae         an error as the first token of a list, or right after a
///                    nested container, closes the list: empty
///
/// A string that runs past the end of the input always fails the parse.
bool ParseBencoded(BencValue& target, IBencParser& parser);

}  // namespace veskard
