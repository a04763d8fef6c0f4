// JsonWriter: the tools' --json output.
#pragma once

#include <concepts>
#include <cstdint>
#include <string>
#include <string_view>

namespace veskard {

/// Builds one JSON text on one line, in the order of the calls; commas come by
/// themselves. Inside an object every value follows a Key. Bytes of strings
/// that are no UTF-8 become U+FFFD.
class JsonWriter {
 public:
  JsonWriter& BeginObject() { return Begin('{'); }
  JsonWriter& EndObject() { return End('}'); }
  JsonWriter& BeginArray() { return Begin('['); }
  JsonWriter& EndArray() { return End(']'); }
  JsonWriter& Key(std::string_view name);
  JsonWriter& String(std::string_view utf8);
  JsonWriter& String(std::wstring_view text);
  JsonWriter& Bool(bool value);
  JsonWriter& Null();
  template <std::integral T>
  JsonWriter& Number(T value) {
    return Raw(std::to_string(value));
  }

  /// Key and value at once.
  JsonWriter& Field(std::string_view name, std::string_view utf8) { return Key(name).String(utf8); }
  JsonWriter& Field(std::string_view name, const char* utf8) {
    return Key(name).String(std::string_view(utf8));
  }
  JsonWriter& Field(std::string_view name, const std::string& utf8) {
    return Key(name).String(std::string_view(utf8));
  }
  JsonWriter& Field(std::string_view name, const std::wstring& text) {
    return Key(name).String(std::wstring_view(text));
  }
  JsonWriter& Field(std::string_view name, bool value) { return Key(name).Bool(value); }
  template <std::integral T>
  JsonWriter& Field(std::string_view name, T value) {
    return Key(name).Number(value);
  }

  const std::string& Text() const noexcept { return text_; }

 private:
  JsonWriter& Begin(char bracket);
  JsonWriter& End(char bracket);
  JsonWriter& Raw(std::string_view value);
  void Separate();

  std::string text_;
  bool needsComma_ = false;
};

}  // namespace veskard
