// Pictures on disk.
#pragma once

#include <windows.h>

#include <cstdint>
#include <string>
#include <vector>

namespace veskard {

/// Pixels in rows from the top, each 0xAARRGGBB.
struct Picture {
  int width = 0;
  int height = 0;
  std::vector<uint32_t> pixels;
};

/// Writes the picture as a PNG file, with its alpha channel. Throws ToolError.
void SavePng(const Picture& picture, const std::wstring& file);

}  // namespace veskard
