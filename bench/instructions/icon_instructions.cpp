// icon_instructions.exe, under callgrind: where a placeholder's icon spends its
// instructions, step by step, beside the whole.
#include <windows.h>

#include <string>

#include "bench/icons/BaselineIcons.h"
#include "bench/icons/BenchFiles.h"
#include "bench/instructions/Counted.h"
#include "shellext/bitmaps/GdiplusBitmap.h"
#include "shellext/bitmaps/IconBitmap.h"
#include "shellext/icons/IconCache.h"
#include "shellext/icons/PlaceholderIcon.h"
#include "shellext/icons/StatusCircle.h"
#include "shellext/icons/WashOut.h"
#include "shellext/module/GdiplusUser.h"

namespace veskard::bench {
namespace {

/// Every step that may be the first of its type takes a type of its own.
enum Type { kWarmUp, kSteps, kWaiting, kReceiving, kTypes };

class IconSteps {
 public:
  IconSteps(const BenchFiles& files, bool large) : files_(files), large_(large) {}

  void Count() const {
    // What a process does once, for its first icon of all.
    ComposePlaceholderIcon(files_.Receiving(kWarmUp), large_);
    EmptyCache();
    CountSteps();
    CountWhole("first icon of its type, no badge: whole", files_.Waiting(kWaiting));
    CountWhole("first icon of its type, first badge: whole", files_.Receiving(kReceiving));
    CountWhole("icon from the cache: whole", files_.Receiving(kReceiving));
  }

 private:
  static void EmptyCache() {
    const CriticalSectionHold hold(SharedIconCache().Lock());
    SharedIconCache().Clear();
  }

  std::string Named(const std::string& step) const { return (large_ ? "large, " : "small, ") + step; }

  void CountWhole(const std::string& name, const std::wstring& placeholder) const {
    Counted(Named(name), [&] { ComposePlaceholderIcon(placeholder, large_); });
  }

  void CountSteps() const {
    Counted(Named("step: the mark"), [&] { BaselineMark(files_.Receiving(kSteps)); });
    UniqueIcon icon;
    Counted(Named("step: the Shell's calls"), [&] { icon = BaselineShellIcon(files_.Name(kSteps), large_); });
    UniqueGpBitmap type;
    Counted(Named("step: the type's icon as a bitmap"), [&] { type = IconToBitmap(icon.Get()); });
    Counted(Named("step: the wash-out"), [&] { WashOut(type.Get()); });
    UniqueGpBitmap badge;
    Counted(Named("step: the badge"), [&] {
      badge = NewBitmap(ShapeOf(type.Get()));
      DrawStatusCircle(badge.Get(), kProgress);
    });
    Counted(Named("step: clone, draw, conversion"), [&] { BaselineExtraction(type.Get(), badge.Get()); });
  }

  const BenchFiles& files_;
  bool large_;
};

}  // namespace
}  // namespace veskard::bench

int main() {
  using namespace veskard;
  const GdiplusUser gdiplus;
  StartGdiplus();
  for (const bool large : {true, false}) {
    const bench::BenchFiles files(bench::kTypes);
    bench::IconSteps(files, large).Count();
  }
}
