// What composing an icon costs beside the least that its rules ask for, as ratios
// taken in one run: both contenders take turns, so that a busy moment of the
// machine hits both.
#include <windows.h>

#include <cstring>
#include <string>
#include <vector>

#include "bench/icons/BaselineIcons.h"
#include "bench/icons/BenchFiles.h"
#include "bench/windows/Measure.h"
#include "shellext/bitmaps/GdiplusBitmap.h"
#include "shellext/icons/IconCache.h"
#include "shellext/icons/PlaceholderIcon.h"
#include "shellext/icons/WashOut.h"
#include "shellext/module/GdiplusUser.h"

namespace veskard {
namespace {

using bench::Compare;
using bench::Rounds;

void EmptyCache() {
  const CriticalSectionHold hold(SharedIconCache().Lock());
  SharedIconCache().Clear();
}

// Against drawing alone, and against drawing and reading the mark, which a request
// cannot do without either.
void BenchWarm(const bench::BenchFiles& files, bool large) {
  constexpr Rounds kRounds = {401};
  const std::wstring placeholder = files.Receiving(0);
  ComposePlaceholderIcon(placeholder, large);
  const CriticalSectionHold hold(SharedIconCache().Lock());
  Gdiplus::GpBitmap* const typeIcon = SharedIconCache().Find(TypeIconKey(files.Name(0), large));
  Gdiplus::GpBitmap* const badge = SharedIconCache().Find(BadgeKey(bench::kProgress, large));
  const bench::Run compose = [&](int) { ComposePlaceholderIcon(placeholder, large); };
  const std::string name = large ? "warm, large: " : "warm, small: ";
  Compare(name + "clone, draw, conversion", 1.15, kRounds, compose,
          [&](int) { bench::BaselineExtraction(typeIcon, badge); });
  Compare(name + "mark, clone, draw, conversion", 1.15, kRounds, compose, [&](int) {
    bench::BaselineMark(placeholder);
    bench::BaselineExtraction(typeIcon, badge);
  });
}

// Every round is another type on either side, so that the Shell loads its icon.
class ColdTypes {
 public:
  explicit ColdTypes(const bench::BenchFiles& files) : files_(files) {}

  // Against the Shell's calls, without a badge and with one, and against these and
  // the drawing that a first icon and a first badge take.
  void Bench(bool large) {
    const std::string size = large ? "cold, large, " : "cold, small, ";
    const bench::Run shell = [&, large](int type) { bench::BaselineShellIcon(files_.Name(type), large); };
    const bench::Run all = [&, large](int type) {
      bench::BaselineColdIcon(files_.Receiving(type), files_.Name(type), large, bench::kProgress);
    };
    const bench::Run waiting = [&, large](int type) { ComposePlaceholderIcon(files_.Waiting(type), large); };
    const bench::Run receiving = [&, large](int type) {
      ComposePlaceholderIcon(files_.Receiving(type), large);
    };
    CompareCold(size + "no badge: the Shell's calls", waiting, shell);
    CompareCold(size + "with a badge: the Shell's calls", receiving, shell);
    CompareCold(size + "with a badge: all that it takes", receiving, all);
  }

 private:
  static constexpr int kRounds = 40;

  void CompareCold(const std::string& what, const bench::Run& ours, const bench::Run& baseline) {
    const auto typeOf = [first = used_](int round, int contender) { return first + 2 * round + contender; };
    used_ += 2 * kRounds;
    Compare(
        what, 1.25, {kRounds},
        [&](int round) {
          EmptyCache();
          ours(typeOf(round, 0));
        },
        [&](int round) { baseline(typeOf(round, 1)); });
  }

 public:
  /// How many types both calls of Bench use up.
  static constexpr int kNeeded = 2 * 3 * 2 * kRounds;

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
  const bench::Run copy = [&](int) {
    std::memcpy(target.data(), bits.Row(0), target.size() * sizeof(target[0]));
  };
  constexpr Rounds kRounds = {501, 20};
  Compare(
      "wash-out of 256 x 256: a copy", 6, kRounds, [&](int) { WashOut(bitmap.Get()); }, copy);
  Compare(
      "rows turned over, 256 x 256: a copy", 6, kRounds, [&](int) { bits.CopyBottomUp(target.data()); },
      copy);
}

}  // namespace
}  // namespace veskard

int main() {
  using namespace veskard;
  const GdiplusUser gdiplus;
  StartGdiplus();
  const bench::BenchFiles files(ColdTypes::kNeeded);
  bench::PrintHeading("Placeholder icons");
  ColdTypes cold(files);
  for (const bool large : {true, false}) cold.Bench(large);
  for (const bool large : {true, false}) BenchWarm(files, large);
  BenchPixels();
}
