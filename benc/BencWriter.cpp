#include "benc/BencWriter.h"

#include <algorithm>

#include "benc/BencWalk.h"
#include "util/string/Digits.h"

namespace veskard {
namespace {

class BencWriter {
 public:
  explicit BencWriter(ByteBuilder& out) noexcept : out_(out) {}

  void Item(bool) const noexcept {}
  void Key(std::string_view key, bool) { AppendBytes(static_cast<uint32_t>(key.size()), key); }
  void Open(const BencValue& value) { out_.Append(value.GetKind() == BencValue::Kind::List ? "l" : "d", 1); }
  void Close(const BencValue&) { out_.Append("e", 1); }

  void Scalar(const BencValue& value) {
    switch (value.GetKind()) {
      case BencValue::Kind::Int32:
      case BencValue::Kind::Int64:
      case BencValue::Kind::Bool:
        AppendInteger(value.Word());
        break;
      case BencValue::Kind::String:
        String(value.AsBytes());
        break;
      default:
        break;  // None and Null vanish, even under a key
    }
  }

 private:
  // The length is its low 32 bits, and the bytes are left out when these are zero.
  // Strings of 2 GiB and more are not supported.
  void String(std::string_view bytes) {
    const auto length = static_cast<int32_t>(static_cast<uint32_t>(bytes.size()));
    AppendBytes(length, length == 0 ? std::string_view() : bytes);
  }

  static size_t LengthOf(int64_t number) noexcept {
    return DecimalLength(Magnitude(number)) + (number < 0 ? 1 : 0);
  }

  // i<number>e
  void AppendInteger(int64_t number) {
    const size_t digits = LengthOf(number);
    char* const at = out_.Extend(digits + 2);
    at[0] = 'i';
    WriteSignedDecimal(at + 1 + digits, number);
    at[1 + digits] = 'e';
  }

  // <number>:<bytes>
  void AppendBytes(int64_t number, std::string_view bytes) {
    const size_t digits = LengthOf(number);
    char* const at = out_.Extend(digits + 1 + bytes.size());
    WriteSignedDecimal(at + digits, number);
    at[digits] = ':';
    std::copy(bytes.begin(), bytes.end(), at + digits + 1);
  }

  ByteBuilder& out_;
};

}  // namespace

void WriteBencoded(ByteBuilder& out, const BencValue& value) {
  // Few records are longer, so most are written into one block.
  if (out.Capacity() == 0) out.Reserve(256);
  BencWriter writer(out);
  WalkBencoded(value, writer);
}

}  // namespace veskard
