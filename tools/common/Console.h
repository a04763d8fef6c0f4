// The standard streams of the tools, in UTF-8 whether a screen, a file or a
// pipe is behind them.
#pragma once

#include <string_view>

namespace veskard {

/// Makes a console behind the streams show UTF-8; call once, at the start.
void PrepareConsole() noexcept;

/// Writes UTF-8 text at once, unbuffered, so that a reader that waits for a
/// line gets it. Failures are ignored: there is no reader left.
void Print(std::string_view text) noexcept;
void PrintError(std::string_view text) noexcept;

}  // namespace veskard
