// The sinks of strfmt.h's wrappers: bounded arrays and growing strings, each of
// either width.
#include <algorithm>
#include <utility>

#include "util/string/FormatOutput.h"
#include "util/string/strfmt.h"

namespace veskard {
namespace {

template <class Char>
using OtherWidth = typename OtherWidthOf<Char>::Type;

// Wide to narrow keeps the low byte, narrow to wide gives one unit a byte.
char ConvertUnit(wchar_t unit) noexcept {
  return static_cast<char>(unit & 0xFF);
}
wchar_t ConvertUnit(char byte) noexcept {
  return static_cast<wchar_t>(static_cast<unsigned char>(byte));
}

template <class Char>
void ConvertUnits(Char* target, const void* characters, size_t count) noexcept {
  const auto* source = static_cast<const OtherWidth<Char>*>(characters);
  for (size_t i = 0; i < count; ++i) target[i] = ConvertUnit(source[i]);
}

template <class Char>
struct StringSink : FormatSink {
  StringSink() noexcept : FormatSink{&Copy, &Convert, 0, 0} { limit = text.max_size(); }

  static void Copy(FormatSink& sink, const void* characters, size_t count) {
    static_cast<StringSink&>(sink).text.append(static_cast<const Char*>(characters), count);
  }
  static void Convert(FormatSink& sink, const void* characters, size_t count) {
    auto& target = static_cast<StringSink&>(sink).text;
    const size_t before = target.size();
    target.append(count, Char());
    ConvertUnits(target.data() + before, characters, count);
  }

  std::basic_string<Char> text;
};

void FormatRunOf(FormatSink& sink, const char* format, FormatArgs args) {
  FormatNarrow(sink, format, args);
}
void FormatRunOf(FormatSink& sink, const wchar_t* format, FormatArgs args) {
  FormatWide(sink, format, args);
}

// Ends an array's text where the run ended, also when memory ended the run.
template <class Char>
class Terminated {
 public:
  explicit Terminated(const ArraySink<Char>& sink) noexcept : sink_(sink) {}
  ~Terminated() { sink_.array[sink_.written] = Char(); }
  Terminated(const Terminated&) = delete;
  Terminated& operator=(const Terminated&) = delete;

 private:
  const ArraySink<Char>& sink_;
};

template <class Char>
size_t FormatIntoBuffer(Char* buffer, size_t size, const Char* format, FormatArgs args) {
  if (size == 0) return 0;
  ArraySink<Char> sink(buffer, size - 1);
  const Terminated<Char> terminated(sink);
  FormatRunOf(sink, format, args);
  return sink.written;
}

template <class Char>
std::basic_string<Char> FormatIntoString(const Char* format, FormatArgs args) {
  StringSink<Char> sink;
  FormatRunOf(sink, format, args);
  return std::move(sink.text);
}

}  // namespace

template <class Char>
void ArraySink<Char>::Copy(FormatSink& sink, const void* characters, size_t count) {
  auto& self = static_cast<ArraySink&>(sink);
  std::copy_n(static_cast<const Char*>(characters), count, self.array + self.written);
}

template <class Char>
void ArraySink<Char>::Convert(FormatSink& sink, const void* characters, size_t count) {
  auto& self = static_cast<ArraySink&>(sink);
  ConvertUnits(self.array + self.written, characters, count);
}

template struct ArraySink<char>;
template struct ArraySink<wchar_t>;

size_t FormatBufferArgs(char* buffer, size_t size, const char* format, FormatArgs args) {
  return FormatIntoBuffer(buffer, size, format, args);
}

size_t FormatBufferArgs(wchar_t* buffer, size_t size, const wchar_t* format, FormatArgs args) {
  return FormatIntoBuffer(buffer, size, format, args);
}

std::string FormatStringArgs(const char* format, FormatArgs args) {
  return FormatIntoString(format, args);
}

std::wstring FormatStringArgs(const wchar_t* format, FormatArgs args) {
  return FormatIntoString(format, args);
}

}  // namespace veskard
