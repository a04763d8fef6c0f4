#include "util/string/strfmt.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <string>
#include <type_traits>

#include "core/StdAfx.h"
#include "util/string/AddressText.h"
#include "util/string/Digits.h"
#include "util/string/EscapedText.h"
#include "util/string/FixedPointText.h"
#include "util/string/FormatOutput.h"
#include "util/string/FormatSpec.h"
#include "util/string/NumberField.h"
#include "util/string/SizeText.h"

namespace veskard {
namespace {

using Kind = FormatArg::Kind;

constexpr char kNullText[] = "<NULL>";
constexpr char kErrorText[] = "<ERROR>";
constexpr char kInvalidText[] = "invalid";

// A lower address is a small number that was passed as a pointer.
constexpr uintptr_t kLowestPointer = 65536;

constexpr size_t kHashBytes = 20;
constexpr size_t kMostBytesShown = 1024;
constexpr int32_t kPointerDigits = 16;
constexpr int32_t kDefaultPlaces = 6;

template <class T>
const T* PointerIn(const FormatArg& slot) noexcept {
  return static_cast<const T*>(slot.pointer);
}

bool IsPlausible(const FormatArg& slot) noexcept {
  return slot.IsPointer() && reinterpret_cast<uintptr_t>(slot.pointer) >= kLowestPointer;
}

// For conversions that know how many bytes there are; the argument's type does not.
bool PointsToBytes(const FormatArg& slot) noexcept {
  return (slot.kind == Kind::kPointer || slot.kind == Kind::kNarrowString) && IsPlausible(slot);
}

// The length of a text up to its terminator or the precision.
template <class Text>
size_t TextLength(const Text* text, const FormatSpec& spec) noexcept {
  using Traits = std::char_traits<Text>;
  if (spec.precision < 0) return Traits::length(text);
  const size_t most = static_cast<size_t>(spec.precision);
  for (size_t length = 0; length < most; ++length) {
    if (text[length] == Text()) return length;
  }
  return most;
}

// One formatting run: the format, its arguments and the output.
template <class Char>
class FormatRun {
 public:
  FormatRun(FormatSink& sink, FormatArgs args) noexcept : out_(sink), args_(args) {}

  void Run(const Char* format) {
    for (;;) {
      const Char* const literal = format;
      while (*format != 0 && *format != '%') ++format;
      if (format != literal) out_.Write(literal, static_cast<size_t>(format - literal));
      if (*format == 0 || out_.IsFull()) return;
      format = FormatSpecParser<Char>(format + 1, args_).Parse(spec_);
      if (*format == 0) return;
      Convert(*format++);
    }
  }

 private:
  using OtherChar = typename FormatOutput<Char>::OtherChar;
  using Emitter = void (FormatRun::*)();

  struct Conversion {
    char letter;
    Emitter emit;
  };

  static constexpr Kind KindOf(char) noexcept { return Kind::kNarrowString; }
  static constexpr Kind KindOf(wchar_t) noexcept { return Kind::kWideString; }

  // A character that is no conversion prints nothing and takes no argument.
  void Convert(Char letter);

  // --- Integers ---

  // The next slot as an integer: the address of a pointer, 0 for a double and for a
  // missing slot.
  uint64_t NextWord() noexcept {
    const FormatArg* slot = args_.Next();
    if (slot == nullptr || slot->kind == Kind::kDouble) return 0;
    return slot->IsPointer() ? reinterpret_cast<uintptr_t>(slot->pointer) : slot->word;
  }

  void Signed() {
    const uint64_t word = NextWord();
    const int64_t value =
        spec_.length == 'L' ? static_cast<int64_t>(word) : static_cast<int32_t>(static_cast<uint32_t>(word));
    EmitInteger(out_, spec_, Magnitude(value), SignOf(value < 0, spec_), 10, kLowerDigits);
  }

  void Unsigned(unsigned base, const char* digits) {
    const uint64_t word = NextWord();
    EmitInteger(out_, spec_, spec_.length == 'L' ? word : static_cast<uint32_t>(word), 0, base, digits);
  }

  void UnsignedDecimal() { Unsigned(10, kLowerDigits); }
  void LowerHex() { Unsigned(16, kLowerDigits); }
  void UpperHex() { Unsigned(16, kUpperDigits); }
  void Octal() { Unsigned(8, kLowerDigits); }
  void Binary() { Unsigned(2, kLowerDigits); }
  void Size64() { EmitInteger(out_, spec_, NextWord(), 0, 10, kLowerDigits); }

  void Pointer() {
    spec_.flags |= kAlternateFlag;
    if (spec_.precision < 0) spec_.precision = kPointerDigits;
    EmitInteger(out_, spec_, NextWord(), 0, 16, kLowerDigits);
  }

  // --- Floating point ---

  double NextDouble() noexcept {
    const FormatArg* slot = args_.Next();
    if (slot == nullptr || slot->IsPointer()) return 0;
    return slot->kind == Kind::kDouble ? slot->real : static_cast<double>(static_cast<int64_t>(slot->word));
  }

  void FixedPoint() {
    const double value = NextDouble();
    const char sign = SignOf(std::signbit(value), spec_);
    if (std::isfinite(value)) {
      FiniteFixedPoint(value, sign);
    } else if (std::isnan(value)) {
      WriteMark("nan");
    } else {
      WriteMark(sign == '-' ? "-inf" : sign == '+' ? "+inf" : "inf");
    }
  }

  void FiniteFixedPoint(double value, char sign) {
    const int32_t places = spec_.precision < 0 ? kDefaultPlaces : spec_.precision;
    const FixedPointDigits digits(value, places);
    spec_.flags &= ~static_cast<unsigned>(kAlternateFlag | kFixedFlag);
    // Without places there is no point, but at least one digit.
    if (places > 0) spec_.flags |= kFixedFlag;
    spec_.precision = places > 0 ? places : 1;
    NumberField<Char, char>(out_, spec_, {digits.First(), digits.Count(), digits.TrailingZeros()}).Emit(sign);
  }

  // --- Texts ---

  void WriteMark(const char* text) { out_.WriteField(spec_, text, std::strlen(text)); }

  // The next slot's text when it is one of this width; otherwise prints "<NULL>" or
  // "<ERROR>" and returns null.
  template <class Text>
  const Text* NextText() {
    const FormatArg* slot = args_.Next();
    if (slot == nullptr || slot->IsNull()) {
      WriteMark(kNullText);
    } else if (slot->kind != KindOf(Text()) || !IsPlausible(*slot)) {
      WriteMark(kErrorText);
    } else {
      return PointerIn<Text>(*slot);
    }
    return nullptr;
  }

  template <class Text>
  void String() {
    const Text* text = NextText<Text>();
    if (text != nullptr) out_.WriteField(spec_, text, TextLength(text, spec_));
  }

  void OwnString() { String<Char>(); }
  void OtherString() { String<OtherChar>(); }

  void Character() {
    const Char character = static_cast<Char>(NextWord());
    out_.WriteField(spec_, &character, 1);
  }

  void Percent() { out_.Write(static_cast<Char>('%')); }

  void Escaped(ByteEscape escape) {
    const char* text = NextText<char>();
    if (text == nullptr) return;
    const size_t length = spec_.precision < 0 ? std::strlen(text) : static_cast<size_t>(spec_.precision);
    char piece[kMaxEscape];
    size_t shown = 0;
    for (size_t i = 0; i < length; ++i) shown += escape(static_cast<unsigned char>(text[i]), piece);
    const int64_t padding = FormatOutput<Char>::PaddingFor(spec_, shown);
    if (!spec_.Has(kLeftFlag)) out_.Pad(' ', padding);
    for (size_t i = 0; i < length && !out_.IsFull(); ++i) {
      out_.Write(piece, escape(static_cast<unsigned char>(text[i]), piece));
    }
    if (spec_.Has(kLeftFlag)) out_.Pad(' ', padding);
  }

  void EscapedForReading() { Escaped(EscapeForReading); }
  void EscapedForUrl() { Escaped(EscapeForUrl); }

  // --- Bytes ---

  void RawBytes() {
    const FormatArg* slot = args_.Next();
    if (slot == nullptr || !PointsToBytes(*slot) || spec_.precision <= 0) return;
    out_.Write(PointerIn<char>(*slot), static_cast<size_t>(spec_.precision));
  }

  void HexBytes(const uint8_t* bytes, size_t count, const char* digits) {
    char text[2 * kMostBytesShown];
    for (size_t i = 0; i < count; ++i) {
      text[2 * i] = digits[bytes[i] >> 4];
      text[2 * i + 1] = digits[bytes[i] & 15];
    }
    out_.WriteField(spec_, text, 2 * count);
  }

  void Hash(const char* digits) {
    const FormatArg* slot = args_.Next();
    if (slot != nullptr && PointsToBytes(*slot)) HexBytes(PointerIn<uint8_t>(*slot), kHashBytes, digits);
  }

  void LowerHash() { Hash(kLowerDigits); }
  void UpperHash() { Hash(kUpperDigits); }

  void ByteVector() {
    const FormatArg* slot = args_.Next();
    if (slot == nullptr || slot->kind != Kind::kByteVector || !IsPlausible(*slot)) return;
    const auto& bytes = *PointerIn<std::vector<uint8_t>>(*slot);
    if (!bytes.empty()) HexBytes(bytes.data(), std::min(bytes.size(), kMostBytesShown), kUpperDigits);
  }

  // --- Values of the layers above ---

  void Dump() {
    const FormatArg* slot = args_.Next();
    if (slot == nullptr || slot->IsNull()) return;
    std::string dump;
    if (slot->kind == Kind::kDump && IsPlausible(*slot)) dump = slot->dumpText(slot->pointer);
    const char* const text = dump.empty() ? kInvalidText : dump.c_str();
    out_.WriteField(spec_, text, TextLength(text, spec_));
  }

  // One decimal; with the alternate flag three significant digits.
  void Size() {
    const ScaledSize size = ScaleSize(NextWord());
    const size_t before = out_.Written();
    if (!spec_.Has(kAlternateFlag) || size.hundredths < 1000) {
      const bool isExact = spec_.Has(kAlternateFlag) && size.hundredths != 0;
      isExact ? Hundredths(size.hundredths, 2) : Hundredths(size.hundredths / 10, 1);
    } else if (size.hundredths < 10000) {
      Hundredths(size.hundredths / 10, 1);
    } else {
      Hundredths(size.hundredths / 100, 0);
    }
    out_.Write(static_cast<Char>(' '));
    const wchar_t* const unit = SizeUnitName(size.unit);
    out_.Write(unit, std::char_traits<wchar_t>::length(unit));
    out_.Pad(' ', FormatOutput<Char>::PaddingFor(spec_, out_.Written() - before));
  }

  // A number of 10^-places; whole numbers have no point.
  void Hundredths(uint64_t number, int32_t places) {
    FormatSpec spec;
    if (places > 0) {
      spec.flags = kFixedFlag;
      spec.precision = places;
    }
    EmitInteger(out_, spec, number, 0, 10, kLowerDigits);
  }

  // --- Addresses ---

  using AddressWriter = size_t (*)(const NetworkAddress&, char*) noexcept;

  void WriteAddressField(const NetworkAddress& address, AddressWriter writer) {
    char text[kMaxAddressText];
    out_.WriteField(spec_, text, writer(address, text));
  }

  void OneAddress(AddressWriter writer) {
    const FormatArg* slot = args_.Next();
    if (slot == nullptr || slot->IsNull()) {
      WriteMark(kNullText);
    } else if (slot->kind != Kind::kAddress || !IsPlausible(*slot)) {
      WriteMark(kErrorText);
    } else {
      WriteAddressField(*PointerIn<NetworkAddress>(*slot), writer);
    }
  }

  void Address() { OneAddress(WriteAddress); }
  void AddressAndPort() { OneAddress(WriteAddressAndPort); }

  void AddressList() {
    const FormatArg* slot = args_.Next();
    if (slot == nullptr || slot->IsNull()) {
      WriteMark(kNullText);
    } else if (slot->kind != Kind::kAddressList || !IsPlausible(*slot)) {
      WriteMark(kErrorText);
    } else {
      WriteAddressList(*PointerIn<NetworkAddressList>(*slot));
    }
  }

  void WriteAddressList(const NetworkAddressList& list) {
    bool isFirst = true;
    for (const NetworkAddress& address : list) {
      if (!isFirst) out_.Write(static_cast<Char>(','));
      isFirst = false;
      WriteAddressField(address, WriteAddressAndPort);
    }
  }

  void HostOrderAddress() {
    WriteAddressField(AddressFromHostOrder(static_cast<uint32_t>(NextWord())), WriteAddress);
  }

  FormatOutput<Char> out_;
  FormatArgs args_;
  FormatSpec spec_;
};

template <class Char>
void FormatRun<Char>::Convert(Char letter) {
  // clang-format off
  static constexpr Conversion kConversions[] = {
      {'%', &FormatRun::Percent},
      {'d', &FormatRun::Signed},            {'i', &FormatRun::Signed},
      {'u', &FormatRun::UnsignedDecimal},
      {'x', &FormatRun::LowerHex},          {'X', &FormatRun::UpperHex},
      {'o', &FormatRun::Octal},             {'b', &FormatRun::Binary},
      {'t', &FormatRun::Size64},            {'z', &FormatRun::Size64},
      {'p', &FormatRun::Pointer},
      {'s', &FormatRun::OwnString},         {'S', &FormatRun::OtherString},
      {'c', &FormatRun::Character},
      {'m', &FormatRun::RawBytes},
      {'h', &FormatRun::LowerHash},         {'H', &FormatRun::UpperHash},
      {'B', &FormatRun::ByteVector},
      {'D', &FormatRun::Dump},
      {'e', &FormatRun::EscapedForReading}, {'U', &FormatRun::EscapedForUrl},
      {'f', &FormatRun::FixedPoint},
      {'a', &FormatRun::Address},           {'A', &FormatRun::AddressAndPort},
      {'V', &FormatRun::AddressList},       {'I', &FormatRun::HostOrderAddress},
      {'Z', &FormatRun::Size},
  };
  // clang-format on
  static constexpr auto kEmitters = [] {
    std::array<Emitter, 128> emitters{};
    for (const Conversion& row : kConversions) emitters[static_cast<unsigned char>(row.letter)] = row.emit;
    return emitters;
  }();
  const auto code = static_cast<std::make_unsigned_t<Char>>(letter);
  if (code >= kEmitters.size()) return;
  const Emitter emit = kEmitters[code];
  if (emit != nullptr) (this->*emit)();
}

}  // namespace

void NegativePadding() noexcept {
  AssertionFailed("util\\string\\strfmt", __LINE__);
}

void FormatNarrow(FormatSink& sink, const char* format, FormatArgs args) {
  FormatRun<char>(sink, args).Run(format);
}

void FormatWide(FormatSink& sink, const wchar_t* format, FormatArgs args) {
  FormatRun<wchar_t>(sink, args).Run(format);
}

}  // namespace veskard
