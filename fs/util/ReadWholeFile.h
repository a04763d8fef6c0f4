// A whole file in memory.
#pragma once

#include <cstddef>
#include <memory>
#include <string>

namespace veskard {

/// The bytes of a file with a zero byte behind them; `size` does not count that
/// one. Any failure (opening, sizing, allocation, a short read, a file that one
/// read cannot take) gives null and size 0.
[[nodiscard]] std::unique_ptr<char[]> ReadWholeFile(const std::wstring& path, size_t& size);

}  // namespace veskard
