#include "tools/shellprobe/Canvas.h"

#include <algorithm>

#include "tools/common/ToolError.h"

namespace veskard {

Canvas::Canvas(int width, int height)
    : width_(width), height_(height), context_(::CreateCompatibleDC(nullptr)) {
  BITMAPINFO info = {};
  info.bmiHeader.biSize = sizeof info.bmiHeader;
  info.bmiHeader.biWidth = width;
  info.bmiHeader.biHeight = -height;  // rows from the top
  info.bmiHeader.biPlanes = 1;
  info.bmiHeader.biBitCount = 32;
  void* pixels = nullptr;
  bitmap_.Reset(::CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, &pixels, nullptr, 0));
  if (!context_ || !bitmap_) throw LastSystemError("cannot make a bitmap to draw into");
  pixels_ = static_cast<uint32_t*>(pixels);
  before_ = ::SelectObject(context_.Get(), bitmap_.Get());
}

Canvas::~Canvas() {
  ::SelectObject(context_.Get(), before_);
}

void Canvas::Fill(uint32_t argb) noexcept {
  std::fill_n(pixels_, static_cast<size_t>(width_) * static_cast<size_t>(height_), argb);
}

Picture Canvas::Copy() const {
  ::GdiFlush();
  const size_t count = static_cast<size_t>(width_) * static_cast<size_t>(height_);
  return {width_, height_, std::vector<uint32_t>(pixels_, pixels_ + count)};
}

Picture Canvas::CopyOpaque() const {
  Picture picture = Copy();
  for (uint32_t& pixel : picture.pixels) pixel |= 0xFF000000;
  return picture;
}

}  // namespace veskard
