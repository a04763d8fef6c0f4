// What composing an icon costs beside the least that its rules ask for, as ratios
// taken in one run: both contenders take turns, so that a busy moment of the
// machine hits both.
#include <windows.h>
// The image lists' header needs the common controls' types.
#include <commctrl.h>

#include <commoncontrols.h>
#include <shellapi.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "bench/icons/BenchFiles.h"
#include "shellext/GdiplusUser.h"
#include "shellext/icons/GdiplusBitmap.h"
#include "shellext/icons/IconCache.h"
#include "shellext/icons/PlaceholderIcon.h"
#include "shellext/icons/PlaceholderStatus.h"
#include "shellext/icons/WashOut.h"

namespace veskard {
namespace {

namespace gdip = Gdiplus::DllExports;

// --- Measuring ---------------------------------------------------------------

double MicrosecondsNow() {
  LARGE_INTEGER ticks, frequency;
  ::QueryPerformanceCounter(&ticks);
  ::QueryPerformanceFrequency(&frequency);
  return static_cast<double>(ticks.QuadPart) * 1e6 / static_cast<double>(frequency.QuadPart);
}

double MicrosecondsOf(const std::function<void(int)>& run, int round) {
  const double begin = MicrosecondsNow();
  run(round);
  return MicrosecondsNow() - begin;
}

// The fastest run is the one that nothing interrupted.
double Fastest(const std::vector<double>& times) {
  return *std::min_element(times.begin(), times.end());
}

// Runs both in turns and prints how many times as long ours takes. `repetitions`
// runs make one time, for what is too short to measure alone.
void Compare(const std::string& what, double aim, int rounds, int repetitions,
             const std::function<void(int)>& ours, const std::function<void(int)>& bare) {
  const auto repeated = [repetitions](const std::function<void(int)>& run) {
    return [&run, repetitions](int round) {
      for (int i = 0; i < repetitions; ++i) run(round);
    };
  };
  std::vector<double> ourTimes, bareTimes;
  for (int round = 0; round < rounds; ++round) {
    // Either of them goes first every other time, since the second may find
    // something that the first has left.
    if (round % 2 == 0) ourTimes.push_back(MicrosecondsOf(repeated(ours), round) / repetitions);
    bareTimes.push_back(MicrosecondsOf(repeated(bare), round) / repetitions);
    if (round % 2 != 0) ourTimes.push_back(MicrosecondsOf(repeated(ours), round) / repetitions);
  }
  const double our = Fastest(ourTimes), their = Fastest(bareTimes);
  std::printf("  %-52s %9.1f us %9.1f us   %5.2fx   (aim %.2fx)\n", what.c_str(), our, their, our / their,
              aim);
  std::fflush(stdout);
}

// --- The least that is to be done --------------------------------------------

// The bare conversion: a white bitmap, the rows turned over, an icon of it.
void BareConversion(Gdiplus::GpBitmap* canvas, int size) {
  BITMAPV5HEADER header = {};
  header.bV5Size = sizeof(header);
  header.bV5Width = size;
  header.bV5Height = size;
  header.bV5Planes = 1;
  header.bV5BitCount = 32;
  header.bV5Compression = BI_BITFIELDS;
  header.bV5RedMask = 0x00FF0000;
  header.bV5GreenMask = 0x0000FF00;
  header.bV5BlueMask = 0x000000FF;
  header.bV5AlphaMask = 0xFF000000;
  const UniqueScreenDc screen(::GetDC(nullptr));
  void* pixels = nullptr;
  const UniqueBitmap dib(::CreateDIBSection(screen.Get(), reinterpret_cast<const BITMAPINFO*>(&header),
                                            DIB_RGB_COLORS, &pixels, nullptr, 0));
  const UniqueMemoryDc dc(::CreateCompatibleDC(nullptr));
  const HGDIOBJ before = ::SelectObject(dc.Get(), dib.Get());
  ::PatBlt(dc.Get(), 0, 0, size, size, WHITENESS);
  ::SelectObject(dc.Get(), before);
  ::GdiFlush();

  Gdiplus::BitmapData bits = {};
  gdip::GdipBitmapLockBits(canvas, nullptr, Gdiplus::ImageLockModeRead, PixelFormat32bppARGB, &bits);
  const size_t rowBytes = static_cast<size_t>(size) * 4;
  for (int y = 0; y < size; ++y) {
    std::memcpy(static_cast<BYTE*>(pixels) + static_cast<size_t>(size - 1 - y) * rowBytes,
                static_cast<const BYTE*>(bits.Scan0) + static_cast<std::ptrdiff_t>(y) * bits.Stride,
                rowBytes);
  }
  gdip::GdipBitmapUnlockBits(canvas, &bits);

  const UniqueBitmap mask(::CreateBitmap(size, size, 1, 1, nullptr));
  ICONINFO info = {TRUE, 0, 0, mask.Get(), dib.Get()};
  const UniqueIcon icon(::CreateIconIndirect(&info));
}

// One clone, one draw, one conversion.
void BareExtraction(Gdiplus::GpBitmap* typeIcon, Gdiplus::GpBitmap* badge, int size) {
  UniqueGpBitmap canvas;
  gdip::GdipCloneBitmapAreaI(0, 0, size, size, PixelFormat32bppARGB, typeIcon, canvas.Out());
  {
    UniqueGpGraphics graphics;
    gdip::GdipGetImageGraphicsContext(canvas.Get(), graphics.Out());
    gdip::GdipDrawImageRectI(graphics.Get(), badge, 0, 0, size, size);
  }
  BareConversion(canvas.Get(), size);
}

// The Shell's icon of a type that it has not shown before.
void BareShellIcon(const std::wstring& name, bool large) {
  SHFILEINFOW info = {};
  const UINT wanted = large ? SHGFI_SYSICONINDEX : SHGFI_ICON | SHGFI_SMALLICON;
  ::SHGetFileInfoW(name.c_str(), FILE_ATTRIBUTE_NORMAL, &info, sizeof(info),
                   wanted | SHGFI_USEFILEATTRIBUTES);
  const UniqueIcon small(info.hIcon);
  if (!large) return;
  UniqueCom<IImageList> list;
  ::SHGetImageList(SHIL_JUMBO, __uuidof(IImageList), reinterpret_cast<void**>(list.Out()));
  UniqueIcon icon;
  list.Get()->GetIcon(info.iIcon, ILD_NORMAL, icon.Out());
}

void EmptyCache() {
  const CriticalSectionHold hold(SharedIconCache().Lock());
  SharedIconCache().Clear();
}

// --- The comparisons ---------------------------------------------------------

// Against drawing alone, and against drawing and reading the mark, which a request
// cannot do without either.
void BenchWarm(const bench::BenchFiles& files, bool large) {
  const std::wstring placeholder = files.Receiving(0);
  ComposePlaceholderIcon(placeholder, large);
  const CriticalSectionHold hold(SharedIconCache().Lock());
  Gdiplus::GpBitmap* const typeIcon = SharedIconCache().Find(TypeIconKey(files.Name(0), large));
  Gdiplus::GpBitmap* const badge = SharedIconCache().Find(BadgeKey(bench::kProgress, large));
  const int size = static_cast<int>(ShapeOf(typeIcon).width);
  const auto compose = [&](int) { ComposePlaceholderIcon(placeholder, large); };
  const std::string name = large ? "warm, large: " : "warm, small: ";
  Compare(name + "clone, draw, conversion", 1.15, 301, 1, compose,
          [&](int) { BareExtraction(typeIcon, badge, size); });
  Compare(name + "mark, clone, draw, conversion", 1.15, 301, 1, compose, [&](int) {
    QueryPlaceholderStatus(placeholder);
    BareExtraction(typeIcon, badge, size);
  });
}

// Every round is another type on either side, so that the Shell loads its icon.
class ColdTypes {
 public:
  explicit ColdTypes(const bench::BenchFiles& files) : files_(files) {}

  void Bench(bool large, bool receiving) {
    const int first = used_;
    used_ += 2 * kRounds;
    const std::string name = std::string(large ? "cold, large, " : "cold, small, ") +
                             (receiving ? "with a badge" : "no badge") + ": the Shell's calls";
    Compare(
        name, 1.25, kRounds, 1,
        [&](int round) {
          EmptyCache();
          const int number = first + 2 * round;
          ComposePlaceholderIcon(receiving ? files_.Receiving(number) : files_.Waiting(number), large);
        },
        [&](int round) { BareShellIcon(files_.Name(first + 2 * round + 1), large); });
  }

  static constexpr int kRounds = 60;
  static constexpr int kNeeded = 4 * 2 * kRounds;

 private:
  const bench::BenchFiles& files_;
  int used_ = 0;
};

UniqueGpBitmap Noise(UINT size) {
  UniqueGpBitmap bitmap = NewBitmap({size, size, PixelFormat32bppARGB});
  const LockedBits bits(bitmap.Get(), PixelFormat32bppARGB);
  uint32_t value = 1;
  for (UINT y = 0; y < size; ++y) {
    for (UINT x = 0; x < size; ++x) bits.Row(y)[x] = value = value * 1664525 + 1013904223;
  }
  return bitmap;
}

void BenchPixels() {
  constexpr UINT kSize = 256;
  const UniqueGpBitmap bitmap = Noise(kSize), source = Noise(kSize);
  std::vector<uint32_t> target(size_t{kSize} * kSize);
  const LockedBits bits(source.Get(), PixelFormat32bppARGB);
  const auto copy = [&](int) { std::memcpy(target.data(), bits.Row(0), target.size() * sizeof(target[0])); };
  Compare(
      "wash-out of 256 x 256: a copy", 6, 501, 20, [&](int) { WashOut(bitmap.Get()); }, copy);
  Compare(
      "rows turned over, 256 x 256: a copy", 6, 501, 20, [&](int) { bits.CopyTurnedOver(target.data()); },
      copy);
}

}  // namespace
}  // namespace veskard

int main() {
  using namespace veskard;
  const GdiplusUser gdiplus;
  const bench::BenchFiles files(ColdTypes::kNeeded);
  std::printf("The fastest of many runs, taken in turns.                  ours          bare     ratio\n");
  ColdTypes cold(files);
  for (const bool large : {true, false}) {
    for (const bool receiving : {false, true}) cold.Bench(large, receiving);
  }
  for (const bool large : {true, false}) BenchWarm(files, large);
  BenchPixels();
}
