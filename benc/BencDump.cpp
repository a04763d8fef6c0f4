#include "benc/BencDump.h"

#include <algorithm>
#include <cstdint>

#include "benc/BencWalk.h"
#include "util/string/Digits.h"
#include "util/string/strfmt.h"

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

template <class... Args>
void AppendShort(ByteBuilder& out, const char* format, const Args&... args) {
  char text[64];
  out.Append(text, FormatBuffer(text, sizeof(text), format, args...));
}

void AppendQuote(ByteBuilder& out) {
  out.Append("\"", 1);
}

// Bytes count as signed: those from 128 up are escaped as control bytes are.
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
  AppendShort(out, out.EscapeStyle() == 0 ? "u00%02x" : "u0%03o", static_cast<signed char>(byte));
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

  // The mode is that of the key in front and serves this value only.
  void Scalar(const BencValue& value) {
    switch (value.GetKind()) {
      case BencValue::Kind::Int32:
      case BencValue::Kind::Int64:
        AppendShort(out_, "%Ld", value.Word());
        break;
      case BencValue::Kind::Bool:
        AppendShort(out_, "%s", value.Word() != 0 ? "true" : "false");
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

  // One number a byte, as wide as it comes: 5 is one digit, -56 eight.
  void Hex(std::string_view bytes) {
    AppendQuote(out_);
    for (const char byte : bytes) AppendShort(out_, "%X", static_cast<signed char>(byte));
    AppendQuote(out_);
  }

  void Secret(std::string_view bytes) {
    if (ShortLength(bytes.size()) == 0) {
      out_.Append("\"***\"");
    } else {
      AppendShort(out_, "\"%c***\"", bytes[0]);
    }
  }

  ByteBuilder& out_;
  int mode_;
};

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

}  // namespace veskard
