// The system's own string formatter, narrow and wide.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "util/string/FormatArgs.h"
#include "util/string/FormatSink.h"

namespace veskard {

/// One formatting run into a sink. No conversion fails; what does not fit is
/// dropped. The conversions are listed in docs/formatting.md.
void FormatNarrow(FormatSink& sink, const char* format, FormatArgs args);
void FormatWide(FormatSink& sink, const wchar_t* format, FormatArgs args);

// The wrappers' argument-list forms.
size_t FormatBufferArgs(char* buffer, size_t size, const char* format, FormatArgs args);
size_t FormatBufferArgs(wchar_t* buffer, size_t size, const wchar_t* format, FormatArgs args);
std::string FormatStringArgs(const char* format, FormatArgs args);
std::wstring FormatStringArgs(const wchar_t* format, FormatArgs args);

/// Formats into an array of `size` characters: at most size - 1 of them, always
/// terminated (a size of 0 writes nothing). Returns the number written, without
/// the terminator. Throws std::bad_alloc only, and only in "%D": the array then
/// ends before it.
template <class Character, class... Args>
size_t FormatBuffer(Character* buffer, size_t size, const Character* format, const Args&... args) {
  return FormatBufferArgs(buffer, size, format, FormatArgPack<sizeof...(Args)>(args...));
}

/// Formats to a new string of the format's width. Throws std::bad_alloc only.
template <class... Args>
std::string FormatString(const char* format, const Args&... args) {
  return FormatStringArgs(format, FormatArgPack<sizeof...(Args)>(args...));
}
template <class... Args>
std::wstring FormatString(const wchar_t* format, const Args&... args) {
  return FormatStringArgs(format, FormatArgPack<sizeof...(Args)>(args...));
}

}  // namespace veskard
