// Formatting in tests: every case runs in both widths, from one narrow text.
#pragma once

#include <gtest/gtest.h>

#include <deque>
#include <limits>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "util/string/strfmt.h"

namespace veskard::test {

template <class Char>
using OtherWidth = std::conditional_t<sizeof(Char) == 1, wchar_t, char>;

/// Any text in the width that is wanted, unit by unit.
template <class Char>
std::basic_string<Char> InWidth(std::string_view text) {
  std::basic_string<Char> result;
  for (const char byte : text) result += static_cast<Char>(static_cast<unsigned char>(byte));
  return result;
}

/// A string argument of the run's own width, and one of the other width.
struct Own {
  std::string_view text;
};
struct Other {
  std::string_view text;
};

template <class Char>
class FormatTest : public testing::Test {
 protected:
  using OtherChar = OtherWidth<Char>;

  /// What the format prints, with the low byte of every unit; none may be higher.
  template <class... Args>
  std::string Print(std::string_view format, const Args&... args) {
    const std::vector<FormatArg> slots = {Slot(args)...};
    const auto printed =
        FormatStringArgs(InWidth<Char>(format).c_str(), FormatArgs(slots.data(), slots.size()));
    return Narrowed(printed);
  }

  /// A slot of the width that is tested.
  template <class T>
  FormatArg Slot(const T& value) {
    return FormatArg(value);
  }
  FormatArg Slot(const Own& own) { return FormatArg(own_.emplace_back(InWidth<Char>(own.text)).c_str()); }
  FormatArg Slot(const Other& other) {
    return FormatArg(other_.emplace_back(InWidth<OtherChar>(other.text)).c_str());
  }

  static std::string Narrowed(const std::basic_string<Char>& text) {
    std::string narrow;
    for (const Char unit : text) {
      EXPECT_EQ(static_cast<std::make_unsigned_t<Char>>(unit) >> 8, 0u);
      narrow += static_cast<char>(unit & 0xFF);
    }
    return narrow;
  }

 private:
  std::deque<std::basic_string<Char>> own_;
  std::deque<std::basic_string<OtherChar>> other_;
};

struct WidthNames {
  template <class Char>
  static std::string GetName(int) {
    return sizeof(Char) == 1 ? "Narrow" : "Wide";
  }
};

using Widths = testing::Types<char, wchar_t>;

}  // namespace veskard::test
