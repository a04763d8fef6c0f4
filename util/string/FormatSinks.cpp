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
struct ArraySink : FormatSink {
  // The analyser does not see that the braces initialise the base.
  // NOLINTNEXTLINE(clang-analyzer-optin.cplusplus.UninitializedObject)
  ArraySink(Char* target, size_t most) noexcept : FormatSink{&Copy, &Convert, 0, most}, array(target) {}

  static void Copy(FormatSink& sink, const void* characters, size_t count) {
    std::copy_n(static_cast<const Char*>(characters), count, static_cast<ArraySink&>(sink).End());
  }
  static void Convert(FormatSink& sink, const void* characters, size_t count) {
    ConvertUnits(static_cast<ArraySink&>(sink).End(), characters, count);
  }
  Char* End() const noexcept { return array + written; }

  Char* array;
};

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

// Terminates an array where the run ended, also when the run ended out of memory.
template <class Char>
class Terminated {
 public:
  explicit Terminated(const ArraySink<Char>& sink) noexcept : sink_(sink) {}
  ~Terminated() { *sink_.End() = Char(); }
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
