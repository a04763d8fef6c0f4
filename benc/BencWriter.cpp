#include "benc/BencWriter.h"

#include "benc/BencWalk.h"
#include "util/string/Digits.h"

namespace veskard {
namespace {

class BencWriter {
 public:
  explicit BencWriter(ByteBuilder& out) noexcept : out_(out) {}

  void Item(bool) const noexcept {}
  void Key(std::string_view key, bool) {
    // "%u:" and the bytes
    AppendNumber('\0', static_cast<uint32_t>(key.size()), ':');
    out_.Append(key);
  }
  void Open(const BencValue& value) { out_.Append(value.GetKind() == BencValue::Kind::List ? "l" : "d", 1); }
  void Close(const BencValue&) { out_.Append("e", 1); }

  void Scalar(const BencValue& value) {
    switch (value.GetKind()) {
      case BencValue::Kind::Int32:
      case BencValue::Kind::Int64:
      case BencValue::Kind::Bool:
        AppendNumber('i', value.Word(), 'e');
        break;
      case BencValue::Kind::String:
        String(value.AsBytes());
        break;
      default:
        break;  // None and Null vanish, even under a key
    }
  }

 private:
  // "%d:" of the low 32 bits of the length, and the bytes unless those are zero:
  // strings of 2 GiB and more are not supported, and written as it comes.
  void String(std::string_view bytes) {
    const auto length = static_cast<int32_t>(static_cast<uint32_t>(bytes.size()));
    AppendNumber('\0', length, ':');
    if (length != 0) out_.Append(bytes);
  }

  // A decimal between two bytes, of which the first may be missing.
  void AppendNumber(char before, int64_t number, char after) {
    char text[kMaxSignedDigits + 2];
    char* const end = text + sizeof(text);
    end[-1] = after;
    char* first = WriteSignedDecimal(end - 1, number);
    if (before != '\0') *--first = before;
    out_.Append(first, static_cast<size_t>(end - first));
  }

  ByteBuilder& out_;
};

}  // namespace

void WriteBencoded(ByteBuilder& out, const BencValue& value) {
  BencWriter writer(out);
  WalkBencoded(value, writer);
}

}  // namespace veskard
