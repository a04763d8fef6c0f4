// A placeholder's icons: drawn from nothing, and from the cache.
#include <gmock/gmock.h>

#include "shellext/ClassIds.h"
#include "tests/support/SyncTree.h"
#include "tests/support/TestIcons.h"
#include "tests/torture/Scenario.h"

namespace veskard::test {
namespace {

using testing::AnyOf;

struct Pictures {
  Picture large, small;
};

/// An icon handler as Explorer has it.
struct Handler {
  HRESULT Create(const ExtensionLibrary& library) {
    const HRESULT result = library.Create(kFileIconClass, IID_IPersistFile, file);
    if (FAILED(result)) return result;
    return file.Get()->QueryInterface(IID_IExtractIconW, reinterpret_cast<void**>(icons.Out()));
  }

  HRESULT Extract(const std::wstring& path, UniqueIcon& large, UniqueIcon& small) const {
    EXPECT_EQ(file.Get()->Load(path.c_str(), STGM_READ), S_OK);
    return icons.Get()->Extract(nullptr, 0, large.Out(), small.Out(), kTwoSizes);
  }

  void Release() {
    icons.Reset();
    file.Reset();
  }

  UniqueCom<IPersistFile> file;
  UniqueCom<IExtractIconW> icons;
};

class IconScenario : public ExtensionScenario {
 protected:
  IconScenario() {
    tree_.MarkRoot(L"root", kSelective);
    receiving_ = tree_.MakePlaceholder(L"root\\report.txt.ghpl", kReceiving);
    waiting_ = tree_.MakePlaceholder(L"root\\other.txt.ghpl", kNotReceived);
  }

  void Check(const Struck& struck) override {
    if (struck.Memory()) {
      EXPECT_THAT(result_, AnyOf(S_OK, E_OUTOFMEMORY));
    } else {
      EXPECT_EQ(result_, S_OK);
    }
    if (struck.Nothing() && golden_.large.width == 0) golden_ = PicturesOf(large_, small_);
    CheckIcon(struck, large_, golden_.large, plain_.large);
    CheckIcon(struck, small_, golden_.small, plain_.small);
  }

  void Finish() override {
    large_.Reset();
    small_.Reset();
  }

  static Pictures PicturesOf(const UniqueIcon& large, const UniqueIcon& small) {
    return {PixelsOf(large.Get()), PixelsOf(small.Get())};
  }

  // Right, or null; where only a system call has failed, also right except for a badge
  // that lacks a part.
  void CheckIcon(const Struck& struck, const UniqueIcon& icon, const Picture& golden,
                 const Picture& plain) const {
    ASSERT_GT(golden.width, 0);
    if (!struck.Nothing() && !icon) return;
    const Picture picture = PixelsOf(icon.Get());
    ASSERT_EQ(picture.width, golden.width);
    ASSERT_EQ(picture.height, golden.height);
    size_t wrong = 0;
    const bool isExact = struck.Nothing() || struck.Memory();
    for (size_t i = 0; i < golden.pixels.size(); ++i) {
      const bool isBadge = !isExact && golden.pixels[i] != plain.pixels[i];
      wrong += !isBadge && picture.pixels[i] != golden.pixels[i] ? 1u : 0u;
    }
    EXPECT_EQ(wrong, 0u) << "pixels of an icon of width " << golden.width;
  }

  // What the icon looks like without its badge.
  void DrawPlain(const ExtensionLibrary& library) {
    if (plain_.large.width != 0) return;
    Handler handler;
    UniqueIcon large, small;
    EXPECT_EQ(handler.Create(library), S_OK);
    EXPECT_EQ(handler.Extract(waiting_, large, small), S_OK);
    plain_ = PicturesOf(large, small);
  }

  SyncTree tree_;
  std::wstring receiving_, waiting_;
  Pictures plain_, golden_;
  HRESULT result_ = S_OK;
  UniqueIcon large_, small_;
};

/// The only handler, so that nothing is in the cache.
class ColdIcon final : public IconScenario {
 public:
  void Prepare(const ExtensionLibrary& library) override { DrawPlain(library); }

  void Run(const ExtensionLibrary& library) override {
    Handler handler;
    result_ = handler.Create(library);
    if (SUCCEEDED(result_)) result_ = handler.Extract(receiving_, large_, small_);
  }
};

/// A handler that has drawn the same icons before.
class WarmIcon final : public IconScenario {
 public:
  void Prepare(const ExtensionLibrary& library) override {
    DrawPlain(library);
    EXPECT_EQ(handler_.Create(library), S_OK);
    UniqueIcon large, small;
    EXPECT_EQ(handler_.Extract(receiving_, large, small), S_OK);
  }

  void Run(const ExtensionLibrary&) override { result_ = handler_.Extract(receiving_, large_, small_); }

  void Finish() override {
    IconScenario::Finish();
    handler_.Release();
  }

 private:
  Handler handler_;
};

}  // namespace

std::unique_ptr<Scenario> NewColdIcon() {
  return std::make_unique<ColdIcon>();
}

std::unique_ptr<Scenario> NewWarmIcon() {
  return std::make_unique<WarmIcon>();
}

}  // namespace veskard::test
