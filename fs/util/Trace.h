// Where the layer's trace messages go.
#pragma once

#include <cstdint>
#include <string>

namespace veskard {

/// Receives a format with the conversions "%s" and "%u", and their values.
using TraceHook = void (*)(const wchar_t* format, const std::wstring& path, uint32_t error);

inline void TraceNothing(const wchar_t*, const std::wstring&, uint32_t) noexcept {}

/// Unused in this system. A program that wants the messages sets the pointer before its
/// first thread uses the layer.
inline constinit TraceHook traceHook = &TraceNothing;

}  // namespace veskard
