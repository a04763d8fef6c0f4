#include "bench/menu/BenchSelection.h"

#include "shellext/contextmenu/MenuSelection.h"
#include "util/string/CodePage.h"

namespace veskard::bench {
namespace {

/// "Release me instead" of a list that stays.
class NobodysReference final : public IUnknown {
 public:
  STDMETHODIMP QueryInterface(REFIID, void** ppv) override {
    *ppv = nullptr;
    return E_NOINTERFACE;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return 2; }
  STDMETHODIMP_(ULONG) Release() override { return 1; }
};
NobodysReference nobody;

}  // namespace

BenchFolder::BenchFolder(uint32_t items) {
  tree_.MarkRoot(L"folder", test::SelectiveOwnedBy(Utf8FromWide(CurrentUserName())));
  for (uint32_t i = 0; i < items; ++i) {
    const std::wstring name = L"folder\\photo " + std::to_wstring(i) + L".jpg";
    if (i % 2 == 0) {
      items_.push_back(tree_.MakeFile(name));
    } else {
      items_.push_back(
          tree_.MakePlaceholder(name + L".ghpl", i % 4 == 1 ? test::kNotReceived : test::kReceiving));
    }
  }
  outside_ = tree_.MakeFile(L"elsewhere\\photo.jpg");
}

std::vector<std::wstring> BenchFolder::First(uint32_t count) const {
  return {items_.begin(), items_.begin() + count};
}

BenchSelection::BenchSelection(const std::vector<std::wstring>& items)
    : count_(static_cast<uint32_t>(items.size())), list_(items), data_(items) {
  STGMEDIUM medium = {};
  medium.tymed = TYMED_HGLOBAL;
  medium.hGlobal = list_.Get();
  medium.pUnkForRelease = &nobody;
  data_.AnswerWith(S_OK, medium);
}

}  // namespace veskard::bench
