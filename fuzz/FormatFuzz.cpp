// Any text as a format, with arguments that match it (and some that do not): the
// formatter stays within its arguments and its sinks, a bounded buffer gets the
// beginning of what an unbounded one gets, and both widths print the same.
#include <array>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "benc/BencValue.h"
#include "fuzz/FuzzArena.h"
#include "fuzz/Require.h"
#include "util/string/strfmt.h"

namespace veskard {
namespace {

constexpr size_t kMostOutput = 6000;
constexpr size_t kHashBytes = 20;
constexpr int64_t kMostCount = 5000;  // of bytes that a precision makes the formatter read

// The input, taken from the front; zeros when it is used up.
class Source {
 public:
  Source(const uint8_t* data, size_t size) : data_(data), size_(size) {}

  uint8_t Byte() {
    if (size_ == 0) return 0;
    --size_;
    return *data_++;
  }
  uint64_t Word() {
    uint64_t word = 0;
    for (int i = 0; i < 8; ++i) word = word << 8 | Byte();
    return word;
  }
  std::string Text(size_t length) {
    std::string text;
    for (size_t i = 0; i < length && size_ > 0; ++i) text += static_cast<char>(Byte());
    return text;
  }

 private:
  const uint8_t* data_;
  size_t size_;
};

template <class Char>
std::unique_ptr<Char[]> ExactCopy(std::string_view text, bool terminated) {
  std::unique_ptr<Char[]> copy(new Char[text.size() + (terminated ? 1 : 0)]);
  for (size_t i = 0; i < text.size(); ++i) copy[i] = static_cast<Char>(static_cast<unsigned char>(text[i]));
  if (terminated) copy[text.size()] = Char();
  return copy;
}

// The argument lists of the narrow and the wide run, and what they point to.
class Arguments {
 public:
  explicit Arguments(Source& source) : source_(source) {
    dict_.Insert("hash", BencValue::FromString(source.Text(4)));
    dict_.Insert("text", BencValue::FromString(source.Text(6)));
    for (NetworkAddress& address : addresses_) {
      for (uint8_t& byte : address.bytes) byte = source.Byte();
      address.port = source.Byte();
      address.family = source.Byte() % 2 == 0 ? NetworkAddress::Family::kIpv4 : NetworkAddress::Family::kIpv6;
    }
    for (int i = source.Byte(); i > 0; --i) bytes_.push_back(source.Byte());
  }

  void AddBoth(FormatArg argument) {
    narrow.push_back(argument);
    wide.push_back(argument);
  }

  // An integer for a "*", returned.
  int64_t AddStar() {
    const auto value = static_cast<int32_t>(source_.Byte()) * 3 - 200;
    AddBoth(value);
    return value;
  }

  // Adds what the conversion takes, if anything. `precision` is -1 for none.
  void AddFor(char letter, int64_t precision) {
    const Adder add = AdderFor(letter);
    if (add != nullptr) (this->*add)(precision);
  }

  static bool TakesArgument(char letter) { return AdderFor(letter) != nullptr; }

  // An argument of another type; the pointer has as many bytes as the conversion
  // may read from a pointer whose type does not say.
  void AddMismatched(int64_t precision) {
    switch (source_.Byte() % 5) {
      case 0:
        AddBoth(nullptr);
        break;
      case 1:
        AddBoth(reinterpret_cast<const char*>(uintptr_t{5}));
        break;
      case 2:
        AddDouble(precision);
        break;
      case 3:
        AddBoth(source_.Word());
        break;
      default:
        AddBoth(static_cast<const void*>(MakeBytes(precision, true)));
        break;
    }
  }

  std::vector<FormatArg> narrow;
  std::vector<FormatArg> wide;

 private:
  using Adder = void (Arguments::*)(int64_t precision);

  struct AdderRow {
    std::string_view letters;
    Adder add;
  };

  static Adder AdderFor(char letter) {
    static constexpr AdderRow kRows[] = {
        {"diuxXobtzZI", &Arguments::AddWord}, {"c", &Arguments::AddCharacter},
        {"f", &Arguments::AddDouble},         {"s", &Arguments::AddOwnText},
        {"S", &Arguments::AddOtherText},      {"eUm", &Arguments::AddBytes},
        {"hH", &Arguments::AddHash},          {"p", &Arguments::AddPointer},
        {"B", &Arguments::AddByteVector},     {"D", &Arguments::AddDump},
        {"aA", &Arguments::AddAddress},       {"V", &Arguments::AddAddressList},
    };
    for (const AdderRow& row : kRows) {
      if (row.letters.find(letter) != std::string_view::npos) return row.add;
    }
    return nullptr;
  }

  void AddWord(int64_t) { AddBoth(source_.Word()); }
  void AddCharacter(int64_t) { AddBoth(source_.Byte()); }
  void AddOwnText(int64_t precision) { AddText(precision, false); }
  void AddOtherText(int64_t precision) { AddText(precision, true); }
  void AddBytes(int64_t precision) { AddBoth(MakeBytes(precision, false)); }
  void AddHash(int64_t) { AddBoth(static_cast<const void*>(addresses_.front().bytes.data())); }
  void AddPointer(int64_t) { AddBoth(static_cast<const void*>(this)); }
  void AddByteVector(int64_t) { AddBoth(&bytes_); }
  void AddDump(int64_t) {
    AddBoth(source_.Byte() % 4 == 0 ? dict_.Find("text") : static_cast<const BencValue*>(&dict_));
  }
  void AddAddress(int64_t) { AddBoth(&addresses_[source_.Byte() % addresses_.size()]); }
  void AddAddressList(int64_t) { AddBoth(&addresses_); }

  void AddDouble(int64_t) {
    const uint64_t bits = source_.Word();
    double value;
    static_assert(sizeof(value) == sizeof(bits));
    std::memcpy(&value, &bits, sizeof(value));
    AddBoth(value);
  }

  // A text of each run's own width, or of its other one. Unterminated when the
  // precision alone ends it.
  void AddText(int64_t precision, bool other) {
    const std::string text = source_.Text(source_.Byte() % 40);
    const bool terminated = precision < 0 || static_cast<uint64_t>(precision) > text.size();
    narrowTexts_.push_back(ExactCopy<char>(text, terminated));
    wideTexts_.push_back(ExactCopy<wchar_t>(text, terminated));
    const FormatArg narrowText(narrowTexts_.back().get());
    const FormatArg wideText(wideTexts_.back().get());
    narrow.push_back(other ? wideText : narrowText);
    wide.push_back(other ? narrowText : wideText);
  }

  // As many bytes as the precision says, or a terminated text.
  const char* MakeBytes(int64_t precision, bool atLeastHash) {
    std::string bytes = source_.Text(source_.Byte() % 40);
    if (precision >= 0) bytes.resize(static_cast<size_t>(precision), 'x');
    if (atLeastHash && bytes.size() < kHashBytes) bytes.resize(kHashBytes, 'h');
    narrowTexts_.push_back(ExactCopy<char>(bytes, precision < 0));
    return narrowTexts_.back().get();
  }

  Source& source_;
  BencodedDict dict_;
  NetworkAddressList addresses_{3};
  std::vector<uint8_t> bytes_;
  std::vector<std::unique_ptr<char[]>> narrowTexts_;
  std::vector<std::unique_ptr<wchar_t[]>> wideTexts_;
};

// Reads a number, or a "*" with its argument; -1 when there is neither.
int64_t ScanCount(const std::string& format, size_t& at, Arguments& arguments) {
  if (at < format.size() && format[at] == '*') {
    ++at;
    return arguments.AddStar();
  }
  if (at >= format.size() || format[at] < '0' || format[at] > '9') return -1;
  int64_t number = 0;
  for (; at < format.size() && format[at] >= '0' && format[at] <= '9'; ++at) {
    if (number <= INT32_MAX) number = number * 10 + (format[at] - '0');
  }
  return number;
}

// Makes an argument for everything that the format asks for. False when it asks
// for more bytes than are worth making.
bool MakeArguments(const std::string& format, Source& source, Arguments& arguments) {
  for (size_t at = 0; at < format.size(); ++at) {
    if (format[at] != '%') continue;
    at = format.find_first_not_of(" #+-0:", at + 1);
    if (at == std::string::npos) break;
    ScanCount(format, at, arguments);
    int64_t precision = -1;
    if (at < format.size() && format[at] == '.') {
      ++at;
      const bool isStar = at < format.size() && format[at] == '*';
      precision = ScanCount(format, at, arguments);
      if (isStar && precision < 0) precision = 0;
    }
    if (precision > kMostCount) return false;
    if (at < format.size() && (format[at] == 'l' || format[at] == 'L')) ++at;
    if (at >= format.size()) break;
    if (source.Byte() % 16 == 1 && Arguments::TakesArgument(format[at])) {
      arguments.AddMismatched(precision);
    } else {
      arguments.AddFor(format[at], precision);
    }
  }
  return true;
}

template <class Char>
struct LimitedSink : FormatSink {
  LimitedSink() : FormatSink{&Copy, &Convert, 0, kMostOutput} {}

  template <class From>
  static void Take(FormatSink& sink, const void* characters, size_t count) {
    auto& self = static_cast<LimitedSink&>(sink);
    VESKARD_REQUIRE(count > 0 && count <= self.limit - self.written);
    const From* text = static_cast<const From*>(characters);
    for (size_t i = 0; i < count; ++i) self.units.push_back(static_cast<unsigned char>(text[i] & 0xFF));
  }
  static void Copy(FormatSink& sink, const void* characters, size_t count) {
    Take<Char>(sink, characters, count);
  }
  static void Convert(FormatSink& sink, const void* characters, size_t count) {
    Take<std::conditional_t<sizeof(Char) == 1, wchar_t, char>>(sink, characters, count);
  }

  std::vector<unsigned char> units;
};

template <class Char>
void CheckBounded(const Char* format, const std::vector<FormatArg>& arguments, size_t size,
                  const std::vector<unsigned char>& expected) {
  const std::unique_ptr<Char[]> buffer(new Char[size]);
  const size_t count = FormatBufferArgs(buffer.get(), size, format, {arguments.data(), arguments.size()});
  if (size == 0) {
    VESKARD_REQUIRE(count == 0);
    return;
  }
  VESKARD_REQUIRE(count == std::min(size - 1, expected.size()));
  VESKARD_REQUIRE(buffer[count] == Char());
  for (size_t i = 0; i < count; ++i) VESKARD_REQUIRE((buffer[i] & 0xFF) == expected[i]);
}

void CheckFormat(const std::string& text, const Arguments& arguments, size_t bound) {
  const std::unique_ptr<char[]> narrowFormat = ExactCopy<char>(text, true);
  const std::unique_ptr<wchar_t[]> wideFormat = ExactCopy<wchar_t>(text, true);
  LimitedSink<char> narrow;
  FormatNarrow(narrow, narrowFormat.get(), {arguments.narrow.data(), arguments.narrow.size()});
  VESKARD_REQUIRE(narrow.written == narrow.units.size());
  LimitedSink<wchar_t> wide;
  FormatWide(wide, wideFormat.get(), {arguments.wide.data(), arguments.wide.size()});
  VESKARD_REQUIRE(narrow.units == wide.units);
  CheckBounded(narrowFormat.get(), arguments.narrow, bound, narrow.units);
  CheckBounded(wideFormat.get(), arguments.wide, bound, wide.units);
}

}  // namespace
}  // namespace veskard

//     | bound | length of the format | format ... | what the arguments are made of ... |
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const veskard::fuzz::Execution execution;
  veskard::Source source(data, size);
  const size_t bound = source.Byte();
  std::string format = source.Text(source.Byte());
  format = format.c_str();
  veskard::Arguments arguments(source);
  if (veskard::MakeArguments(format, source, arguments)) veskard::CheckFormat(format, arguments, bound);
  return 0;
}
