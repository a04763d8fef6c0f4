// Canvas: a bitmap in memory that the system draws into and we read.
#pragma once

#include <windows.h>

#include "core/WindowsOwners.h"
#include "tools/shellprobe/PngFile.h"

namespace veskard {

/// 32-bit pixels with a device context that draws into them. Throws ToolError
/// when the system has no memory for it.
class Canvas {
 public:
  Canvas(int width, int height);
  ~Canvas();
  Canvas(const Canvas&) = delete;
  Canvas& operator=(const Canvas&) = delete;

  HDC Context() const noexcept { return context_.Get(); }
  uint32_t* Pixels() noexcept { return pixels_; }
  void Fill(uint32_t argb) noexcept;

  /// What has been drawn, with the alpha that lies in the pixels.
  Picture Copy() const;
  /// The same, every pixel opaque: plain drawing leaves no alpha behind.
  Picture CopyOpaque() const;

 private:
  int width_;
  int height_;
  uint32_t* pixels_ = nullptr;
  UniqueBitmap bitmap_;
  UniqueMemoryDc context_;
  HGDIOBJ before_ = nullptr;
};

}  // namespace veskard
