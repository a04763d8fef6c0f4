#include "tools/shellprobe/PngFile.h"

#include "core/GdiplusOwners.h"
#include "tools/common/ToolError.h"
#include "tools/common/Utf8.h"

namespace veskard {
namespace {

// GDI+'s encoder for PNG, the same on every Windows.
constexpr CLSID kPngEncoder = {0x557CF406, 0x1A04, 0x11D3, {0x9A, 0x73, 0x00, 0x00, 0xF8, 0x1E, 0xF3, 0x2E}};

/// GDI+ for as long as a picture is saved.
class GdiplusSession {
 public:
  GdiplusSession() {
    const Gdiplus::GdiplusStartupInput input;
    if (Gdiplus::GdiplusStartup(&token_, &input, nullptr) != Gdiplus::Ok) {
      throw ToolError(ExitCode::kFailed, "GDI+ cannot be started");
    }
  }
  ~GdiplusSession() { Gdiplus::GdiplusShutdown(token_); }
  GdiplusSession(const GdiplusSession&) = delete;
  GdiplusSession& operator=(const GdiplusSession&) = delete;

 private:
  ULONG_PTR token_ = 0;
};

}  // namespace

void SavePng(const Picture& picture, const std::wstring& file) {
  const GdiplusSession session;
  std::vector<uint32_t> pixels = picture.pixels;
  UniqueGpBitmap bitmap;
  Gdiplus::GpStatus status = Gdiplus::DllExports::GdipCreateBitmapFromScan0(
      picture.width, picture.height, picture.width * static_cast<int>(sizeof(uint32_t)), PixelFormat32bppARGB,
      reinterpret_cast<BYTE*>(pixels.data()), bitmap.Out());
  if (status == Gdiplus::Ok) {
    status = Gdiplus::DllExports::GdipSaveImageToFile(bitmap.Get(), file.c_str(), &kPngEncoder, nullptr);
  }
  if (status != Gdiplus::Ok) {
    throw ToolError(ExitCode::kFailed, "cannot write the picture " + ToUtf8(file) + " (GDI+ status " +
                                           std::to_string(status) + ")");
  }
}

}  // namespace veskard
