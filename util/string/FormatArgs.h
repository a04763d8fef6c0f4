// The arguments of one formatting run: typed slots instead of C varargs. A format that
// does not match its arguments prints a wrong text, but reads no argument that is not
// there. A pointer's type does not say how many bytes it points to: for "m", "h", "H"
// and for a text with a precision the caller has to make sure that there are enough.
#pragma once

#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>
#include <vector>

#include "util/string/NetworkAddress.h"

namespace veskard {

/// A value that the conversion "D" prints. A type has one when a function of its own
/// namespace, `FormatDump DumpOf(const Type* value) noexcept`, makes it; the formatter
/// thus prints values of higher layers without depending on them.
struct FormatDump {
  const void* value;
  /// The text dump of `value`, which is not null; empty when it has none. Throws
  /// std::bad_alloc only.
  std::string (*text)(const void* value);
};

template <class T>
concept HasFormatDump = requires(const T* value) {
  { DumpOf(value) } -> std::same_as<FormatDump>;
};

/// One argument slot: 64 bits whatever the argument's type, and the function beside a
/// value that "D" prints.
struct FormatArg {
  enum class Kind : uint8_t {
    kInteger,
    kDouble,
    kNarrowString,
    kWideString,
    kPointer,      // of any other type, and the null pointer
    kByteVector,   // std::vector<uint8_t>*
    kDump,         // of a type with a FormatDump
    kAddress,      // NetworkAddress*
    kAddressList,  // NetworkAddressList*
  };

  FormatArg() noexcept = default;
  template <class T>
  requires std::is_integral_v<T> || std::is_enum_v<T> FormatArg(T value)
  noexcept : word(Widen(value)), kind(Kind::kInteger) {}
  FormatArg(double value) noexcept : real(value), kind(Kind::kDouble) {}
  FormatArg(const char* text) noexcept : pointer(text), kind(Kind::kNarrowString) {}
  FormatArg(const wchar_t* text) noexcept : pointer(text), kind(Kind::kWideString) {}
  FormatArg(const std::string& text) noexcept : FormatArg(text.c_str()) {}
  FormatArg(const std::wstring& text) noexcept : FormatArg(text.c_str()) {}
  FormatArg(const void* address) noexcept : pointer(address), kind(Kind::kPointer) {}
  FormatArg(std::nullptr_t) noexcept : pointer(nullptr), kind(Kind::kPointer) {}
  FormatArg(const std::vector<uint8_t>* bytes) noexcept : pointer(bytes), kind(Kind::kByteVector) {}
  FormatArg(const NetworkAddress* address) noexcept : pointer(address), kind(Kind::kAddress) {}
  FormatArg(const NetworkAddressList* list) noexcept : pointer(list), kind(Kind::kAddressList) {}
  FormatArg(FormatDump dump) noexcept : pointer(dump.value), dumpText(dump.text), kind(Kind::kDump) {}
  template <HasFormatDump T>
  FormatArg(const T* value) noexcept : FormatArg(DumpOf(value)) {}
  // An object without a dump, or one whose header is not included here: its address has
  // to be asked for as a const void*.
  template <class T>
  requires(std::is_class_v<T> && !HasFormatDump<T>) FormatArg(const T* object)
  = delete;

  bool IsPointer() const noexcept { return kind != Kind::kInteger && kind != Kind::kDouble; }
  bool IsNull() const noexcept { return IsPointer() && pointer == nullptr; }

  union {
    uint64_t word = 0;    // kInteger: signed types sign-extended, others zero-extended
    double real;          // kDouble
    const void* pointer;  // all others
  };
  std::string (*dumpText)(const void* value) = nullptr;  // kDump
  Kind kind = Kind::kInteger;

 private:
  template <class T>
  static uint64_t Widen(T value) noexcept {
    if constexpr (std::is_enum_v<T>) {
      return Widen(static_cast<std::underlying_type_t<T>>(value));
    } else if constexpr (std::is_signed_v<T>) {
      return static_cast<uint64_t>(static_cast<int64_t>(value));
    } else {
      return static_cast<uint64_t>(value);
    }
  }
};

/// The slots of one run, read one after another. Owns nothing.
class FormatArgs {
 public:
  FormatArgs() noexcept = default;
  FormatArgs(const FormatArg* first, size_t count) noexcept : next_(first), end_(first + count) {}

  /// The next slot, or null when the format asks for more than there are.
  const FormatArg* Next() noexcept { return next_ == end_ ? nullptr : next_++; }

 private:
  const FormatArg* next_ = nullptr;
  const FormatArg* end_ = nullptr;
};

/// Holds the slots while a run reads them.
template <size_t kCount>
class FormatArgPack {
 public:
  template <class... Args>
  explicit FormatArgPack(const Args&... args) noexcept : slots_{FormatArg(args)...} {}
  operator FormatArgs() const noexcept { return FormatArgs(slots_.data(), kCount); }

 private:
  std::array<FormatArg, kCount> slots_;
};

}  // namespace veskard
