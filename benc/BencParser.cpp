#include "benc/BencParser.h"

#include <limits>
#include <string_view>

#include "benc/BencBuilder.h"
#include "benc/BencTree.h"
#include "benc/InlineStack.h"

namespace veskard {
namespace {

// How far after the start of an integer the "e" is put when a ":" ends it.
constexpr size_t kRepairDistance = 13;

bool IsDigit(char byte) noexcept {
  return byte >= '0' && byte <= '9';
}
unsigned DigitOf(char byte) noexcept {
  return static_cast<unsigned>(byte - '0');
}

// length * 10 + digit, stopping at the largest: no buffer is that long.
size_t AppendDigit(size_t length, unsigned digit) noexcept {
  constexpr size_t kLargest = std::numeric_limits<size_t>::max();
  return length > (kLargest - digit) / 10 ? kLargest : length * 10 + digit;
}

}  // namespace

BencToken BencParser::NextToken(const char** text, size_t* length) noexcept {
  *length = 0;
  if (cursor_ == end_) return BencToken::TokEndOfInput;
  if (IsBeyondEnd()) return BencToken::TokError;
  const char byte = *cursor_++;
  if (IsDigit(byte)) return StringToken(byte, text, length);
  *text = cursor_;
  switch (byte) {
    case 'i':
      return IntegerToken(text, length);
    case 'l':
      return BencToken::TokListStart;
    case 'd':
      return BencToken::TokDictStart;
    case 'e':
      return BencToken::TokEnd;
    default:
      return BencToken::TokError;
  }
}

BencToken BencParser::StringToken(char first, const char** text, size_t* length) noexcept {
  size_t count = DigitOf(first);
  for (;;) {
    if (cursor_ == end_) return BencToken::TokError;
    const char byte = *cursor_++;
    if (byte == ':') break;
    if (!IsDigit(byte)) return BencToken::TokError;
    count = AppendDigit(count, DigitOf(byte));
  }
  *text = cursor_;
  *length = count;
  if (count > Remaining()) {
    cursor_ = nullptr;
    return BencToken::TokError;
  }
  cursor_ += count;
  return BencToken::TokString;
}

BencToken BencParser::IntegerToken(const char** text, size_t* length) noexcept {
  const char* const start = cursor_;
  if (cursor_ != end_ && *cursor_ == '-') ++cursor_;
  while (cursor_ != end_ && IsDigit(*cursor_)) ++cursor_;
  *text = start;
  *length = static_cast<size_t>(cursor_ - start);
  if (cursor_ == end_) return BencToken::TokInt;
  if (*cursor_ == 'e') {
    ++cursor_;
  } else if (*cursor_ == ':') {
    RepairInteger(start, length);
  }
  return BencToken::TokInt;
}

// The cursor stands on a ":" inside an integer that began at `start`.
void BencParser::RepairInteger(const char* start, size_t* length) noexcept {
  if (static_cast<size_t>(end_ - start) > kRepairDistance) {
    *length = kRepairDistance;
    cursor_ = end_ - (static_cast<size_t>(end_ - start) - kRepairDistance);
  }
  *cursor_++ = 'e';
}

namespace {

bool IsSpace(char byte) noexcept {
  return byte == ' ' || (byte >= '\t' && byte <= '\r');
}

uint64_t LargestMagnitude(bool isNegative) noexcept {
  return uint64_t{std::numeric_limits<int64_t>::max()} + (isNegative ? 1 : 0);
}

// The digits from `text` on; `limit` when they are more than that.
uint64_t ConvertDigits(const char* text, const char* end, uint64_t limit) noexcept {
  const uint64_t safe = limit / 10 - 1;  // below it another digit always fits
  uint64_t magnitude = 0;
  for (; text != end && IsDigit(*text); ++text) {
    const unsigned digit = DigitOf(*text);
    if (magnitude > safe && magnitude > (limit - digit) / 10) {
      magnitude = limit;
    } else {
      magnitude = magnitude * 10 + digit;
    }
  }
  return magnitude;
}

// The decimal conversion of the C library on [text, end): leading blanks, a sign,
// digits up to the first other byte; saturates at the ends of the range.
int64_t ConvertInteger(const char* text, const char* end) noexcept {
  while (text != end && IsSpace(*text)) ++text;
  const bool isNegative = text != end && *text == '-';
  if (text != end && (*text == '-' || *text == '+')) ++text;
  const uint64_t magnitude = ConvertDigits(text, end, LargestMagnitude(isNegative));
  return static_cast<int64_t>(isNegative ? 0 - magnitude : magnitude);
}

// One parse. The stack holds the open containers; each stays where it is while it
// is open, because only the innermost one grows.
class BencTreeParser {
 public:
  explicit BencTreeParser(IBencParser& parser) noexcept : parser_(parser) {}

  bool Parse(BencValue& root) {
    Next();
    if (token_ != BencToken::TokListStart && token_ != BencToken::TokDictStart) return false;
    Create(root);
    open_.Push(&root);
    while (!open_.IsEmpty()) {
      BencValue& container = *open_.Top();
      const Outcome outcome =
          container.GetKind() == BencValue::Kind::List ? ReadList(container) : ReadDict(container);
      if (outcome == Outcome::kFailed) return false;
      if (outcome == Outcome::kClosed) open_.Pop();
    }
    return true;
  }

 private:
  enum class Outcome { kFailed, kOpened, kClosed };

  void Next() { token_ = parser_.NextToken(&text_, &length_); }

  // Elements up to the list's end or to a nested container.
  Outcome ReadList(BencValue& list) {
    for (bool isFirst = true;; isFirst = false) {
      Next();
      // A skipped error leaves the next one "after a scalar" too.
      while (token_ == BencToken::TokError && !isFirst && length_ == 0) Next();
      switch (token_) {
        case BencToken::TokEndOfInput:
          return Outcome::kFailed;
        case BencToken::TokEnd:
          return Outcome::kClosed;
        case BencToken::TokError:
          return length_ == 0 ? Outcome::kClosed : Outcome::kFailed;
        default:
          break;
      }
      if (Create(BencBuilder::AppendNone(list, &slabs_))) return Outcome::kOpened;
    }
  }

  // Entries up to the dictionary's end or to a nested container.
  Outcome ReadDict(BencValue& dict) {
    BencNode* last = BencTree::Last(BencTree::Root(dict));
    for (;;) {
      Next();
      if (token_ == BencToken::TokEnd) return Outcome::kClosed;
      if (token_ != BencToken::TokString) return Outcome::kFailed;
      BencNode* const entry = BencTree::Insert(dict, BencKey({text_, length_}), last, &slabs_);
      if (entry == nullptr) return Outcome::kFailed;
      Next();
      if (!IsValue(token_)) return Outcome::kFailed;
      if (Create(entry->value)) return Outcome::kOpened;
    }
  }

  static bool IsValue(BencToken token) noexcept {
    return token >= BencToken::TokInt && token <= BencToken::TokDictStart;
  }

  // Fills a None value from the current token; true when that opened a container.
  bool Create(BencValue& none) {
    switch (token_) {
      case BencToken::TokInt:
        BencBuilder::SetInt64(none, ConvertInteger(text_, IntegerEnd()));
        return false;
      case BencToken::TokString:
        BencBuilder::SetString(none, {text_, length_}, &slabs_);
        return false;
      case BencToken::TokListStart:
        BencBuilder::SetEmpty(none, BencValue::Kind::List);
        break;
      default:
        BencBuilder::SetEmpty(none, BencValue::Kind::Dict);
        break;
    }
    if (!open_.IsEmpty()) open_.Push(&none);
    return true;
  }

  const char* IntegerEnd() const noexcept {
    const char* const end = parser_.InputEnd();
    return end == nullptr ? text_ + length_ : end;
  }

  IBencParser& parser_;
  BencToken token_ = BencToken::TokError;
  const char* text_ = nullptr;
  size_t length_ = 0;
  InlineStack<BencValue*> open_;
  BencSlabs slabs_;
};

}  // namespace

bool ParseBencoded(BencValue& target, IBencParser& parser) {
  target.Reset();
  BencValue root;
  if (!BencTreeParser(parser).Parse(root)) return false;
  target = std::move(root);
  return true;
}

}  // namespace veskard
