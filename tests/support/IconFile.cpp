#include "tests/support/IconFile.h"

#include <gtest/gtest.h>

namespace veskard::test {
namespace {

using Bytes = std::vector<BYTE>;

void AppendNumber(Bytes& bytes, uint32_t value, int size) {
  for (int i = 0; i < size; ++i) bytes.push_back(static_cast<BYTE>(value >> (8 * i)));
}

uint32_t AlphaOf(uint32_t pixel) {
  return pixel >> 24;
}

bool IsBright(uint32_t pixel) {
  return (pixel & 255) + (pixel >> 8 & 255) + (pixel >> 16 & 255) > 3 * 127;
}

// Rows of whole 32-bit words, filled from the highest bit.
template <class Predicate>
void AppendBitRow(Bytes& bytes, const Picture& picture, int y, Predicate isSet) {
  for (int x = 0; x < (picture.width + 31) / 32 * 32; x += 8) {
    uint32_t byte = 0;
    for (int bit = 0; bit < 8; ++bit) {
      const int column = x + bit;
      if (column < picture.width && isSet(picture.At(column, y))) byte |= 0x80u >> bit;
    }
    AppendNumber(bytes, byte, 1);
  }
}

void AppendColourRow(Bytes& bytes, const IconFilePicture& image, int y) {
  const Picture& picture = image.picture;
  if (image.bitsPerPixel == 1) return AppendBitRow(bytes, picture, y, &IsBright);
  for (int x = 0; x < picture.width; ++x) AppendNumber(bytes, picture.At(x, y), image.bitsPerPixel / 8);
  const int rowBytes = picture.width * image.bitsPerPixel / 8;
  AppendNumber(bytes, 0, (4 - rowBytes % 4) % 4);
}

// BITMAPINFOHEADER (height counts colours and mask), a palette where there is one,
// the colours, the mask; rows from the bottom.
Bytes BitmapOf(const IconFilePicture& image) {
  const Picture& picture = image.picture;
  Bytes bytes;
  AppendNumber(bytes, 40, 4);
  AppendNumber(bytes, static_cast<uint32_t>(picture.width), 4);
  AppendNumber(bytes, static_cast<uint32_t>(2 * picture.height), 4);
  AppendNumber(bytes, 1, 2);
  AppendNumber(bytes, static_cast<uint32_t>(image.bitsPerPixel), 2);
  bytes.resize(40);
  if (image.bitsPerPixel == 1) {
    AppendNumber(bytes, 0x000000, 4);
    AppendNumber(bytes, 0xFFFFFF, 4);
  }
  for (int y = picture.height - 1; y >= 0; --y) AppendColourRow(bytes, image, y);
  const bool hides = image.bitsPerPixel != 32;
  for (int y = picture.height - 1; y >= 0; --y) {
    AppendBitRow(bytes, picture, y, [hides](uint32_t pixel) { return hides && AlphaOf(pixel) == 0; });
  }
  return bytes;
}

// 6 bytes of header, 16 an entry, then the bitmaps.
Bytes IconFileOf(const std::vector<IconFilePicture>& pictures) {
  Bytes bytes, bitmaps;
  AppendNumber(bytes, 0, 2);
  AppendNumber(bytes, 1, 2);
  AppendNumber(bytes, static_cast<uint32_t>(pictures.size()), 2);
  const size_t bitmapsAt = 6 + 16 * pictures.size();
  for (const IconFilePicture& image : pictures) {
    const Bytes bitmap = BitmapOf(image);
    AppendNumber(bytes, static_cast<uint32_t>(image.picture.width), 1);  // 256 is written as 0
    AppendNumber(bytes, static_cast<uint32_t>(image.picture.height), 1);
    AppendNumber(bytes, image.bitsPerPixel == 1 ? 2 : 0, 2);
    AppendNumber(bytes, 1, 2);
    AppendNumber(bytes, static_cast<uint32_t>(image.bitsPerPixel), 2);
    AppendNumber(bytes, static_cast<uint32_t>(bitmap.size()), 4);
    AppendNumber(bytes, static_cast<uint32_t>(bitmapsAt + bitmaps.size()), 4);
    bitmaps.insert(bitmaps.end(), bitmap.begin(), bitmap.end());
  }
  bytes.insert(bytes.end(), bitmaps.begin(), bitmaps.end());
  return bytes;
}

}  // namespace

void WriteIconFile(const std::wstring& path, const std::vector<IconFilePicture>& pictures) {
  const Bytes bytes = IconFileOf(pictures);
  const UniqueFile file(::CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
  ASSERT_TRUE(file) << ::GetLastError();
  DWORD written = 0;
  ASSERT_TRUE(::WriteFile(file.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr));
  ASSERT_EQ(written, bytes.size());
}

}  // namespace veskard::test
