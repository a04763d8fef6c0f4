#include "benc/BencDump.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "benc/BencWalk.h"
#include "util/string/Digits.h"
#include "util/string/FormatArgs.h"

namespace veskard {
namespace {

enum DumpMode : int { kEscapedMode = 0, kHexMode = 1, kSecretMode = 2 };

struct KeyMode {
  const char* key;
  int mode;
};

// Under which keys a string is shown in hexadecimal, or hidden.
// clang-format off
constexpr KeyMode kKeyModes[] = {
    {"share", kHexMode},       {"peer", kHexMode},  {"tree_hash", kHexMode},
    {"pieces_hash", kHexMode}, {"hash", kHexMode},  {"pk", kHexMode},
    {"p", kHexMode},           {"sig", kHexMode},   {"owner", kHexMode},
    {"have_pieces_hash", kHexMode},
    {"secret", kSecretMode},
};

struct NamedEscape {
  char byte;
  char name;
};
constexpr NamedEscape kNamedEscapes[] = {
    {'\b', 'b'}, {'\t', 't'}, {'\n', 'n'}, {'\f', 'f'}, {'\r', 'r'}, {'"', '"'}, {'\\', '\\'},
};
// clang-format on

int ModeOfKey(std::string_view key) noexcept {
  const std::string_view visible = key.substr(0, key.find('\0'));
  for (const KeyMode& row : kKeyModes) {
    if (visible == row.key) return row.mode;
  }
  return kEscapedMode;
}

// Lengths count in their low 32 bits, with a sign.
int32_t ShortLength(size_t length) noexcept {
  return static_cast<int32_t>(static_cast<uint32_t>(length));
}

// A byte as the dump prints it: signed, widened to 32 bits.
uint32_t Widened(char byte) noexcept {
  return static_cast<uint32_t>(static_cast<signed char>(byte));
}

// The digits of a number, at least `least` of them, with leading zeros.
void AppendDigits(ByteBuilder& out, uint32_t number, unsigned base, const char* digits, ptrdiff_t least) {
  char text[kMaxDigits];
  char* const end = text + kMaxDigits;
  char* first = WriteDigits(end, number, base, digits);
  while (end - first < least) *--first = '0';
  out.Append(first, static_cast<size_t>(end - first));
}

void AppendQuote(ByteBuilder& out) {
  out.Append("\"", 1);
}

// Bytes are signed here, so those from 128 up are escaped like control bytes.
bool IsPlain(char byte) noexcept {
  return static_cast<signed char>(byte) >= 32 && byte != '"' && byte != '\\';
}

void AppendEscape(ByteBuilder& out, char byte) {
  out.Append("\\", 1);
  for (const NamedEscape& row : kNamedEscapes) {
    if (row.byte == byte) {
      out.Append(&row.name, 1);
      return;
    }
  }
  if (out.EscapeStyle() == 0) {
    out.Append("u00", 3);
    AppendDigits(out, Widened(byte), 16, kLowerDigits, 2);
  } else {
    out.Append("u0", 2);
    AppendDigits(out, Widened(byte), 8, kLowerDigits, 3);
  }
}

class BencDumper {
 public:
  BencDumper(ByteBuilder& out, int mode) noexcept : out_(out), mode_(mode) {}

  void Item(bool isFirst) {
    if (!isFirst) out_.Append(", ", 2);
  }
  void Key(std::string_view key, bool isFirst) {
    Item(isFirst);
    DumpEscapedString(out_, key.data(), key.size());
    out_.Append(": ", 2);
    mode_ = ModeOfKey(key);
  }
  void Open(const BencValue& value) {
    out_.Append(IsList(value) ? "[ " : "{ ", 2);
    mode_ = kEscapedMode;
  }
  void Close(const BencValue& value) { out_.Append(IsList(value) ? " ]" : " }", 2); }

  // The preceding key chose the mode, for this value only.
  void Scalar(const BencValue& value) {
    switch (value.GetKind()) {
      case BencValue::Kind::Int32:
      case BencValue::Kind::Int64:
        Number(value.Word());
        break;
      case BencValue::Kind::Bool:
        out_.Append(value.Word() != 0 ? "true" : "false");
        break;
      case BencValue::Kind::String:
        String(value.AsBytes());
        break;
      default:
        break;
    }
    mode_ = kEscapedMode;
  }

 private:
  static bool IsList(const BencValue& value) noexcept { return value.GetKind() == BencValue::Kind::List; }

  void Number(int64_t number) {
    char text[kMaxSignedDigits];
    char* const end = text + kMaxSignedDigits;
    const char* const first = WriteSignedDecimal(end, number);
    out_.Append(first, static_cast<size_t>(end - first));
  }

  void String(std::string_view bytes) {
    switch (mode_) {
      case kEscapedMode:
        DumpEscapedString(out_, bytes.data(), static_cast<size_t>(std::max(0, ShortLength(bytes.size()))));
        break;
      case kHexMode:
        Hex(bytes);
        break;
      default:
        Secret(bytes);
        break;
    }
  }

  // One number for each byte, without leading zeros: 5 is one digit, -56 eight.
  void Hex(std::string_view bytes) {
    AppendQuote(out_);
    for (const char byte : bytes) AppendDigits(out_, Widened(byte), 16, kUpperDigits, 1);
    AppendQuote(out_);
  }

  void Secret(std::string_view bytes) {
    if (ShortLength(bytes.size()) == 0) {
      out_.Append("\"***\"");
    } else {
      AppendQuote(out_);
      out_.Append(bytes.substr(0, 1));
      out_.Append("***\"");
    }
  }

  ByteBuilder& out_;
  int mode_;
};

std::string DictionaryText(const void* pointer) {
  const BencValue& value = *static_cast<const BencValue*>(pointer);
  if (value.GetKind() != BencValue::Kind::Dict) return {};
  constexpr size_t kUsualDump = 4096;
  ByteBuilder text(kUsualDump);
  DumpValue(text, value, kEscapedMode);
  return std::string(text.View());
}

}  // namespace

void DumpEscapedString(ByteBuilder& out, const char* bytes, size_t length) {
  AppendQuote(out);
  const char* const end = bytes == nullptr ? bytes : bytes + length;
  while (bytes != end) {
    const char* const plain = bytes;
    while (bytes != end && IsPlain(*bytes)) ++bytes;
    out.Append(plain, static_cast<size_t>(bytes - plain));
    if (bytes != end) AppendEscape(out, *bytes++);
  }
  AppendQuote(out);
}

void DumpValue(ByteBuilder& out, const BencValue& value, int mode) {
  BencDumper dumper(out, mode);
  WalkBencoded(value, dumper);
}

FormatDump DumpOf(const BencValue* value) noexcept {
  return {value, &DictionaryText};
}

}  // namespace veskard
