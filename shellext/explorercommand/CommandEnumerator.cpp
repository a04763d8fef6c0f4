#include "shellext/explorercommand/CommandEnumerator.h"

#include <algorithm>

#include "shellext/module/ComBoundary.h"

namespace veskard {

STDMETHODIMP CommandEnumerator::QueryInterface(REFIID riid, void** ppv) noexcept {
  if (ppv == nullptr) return E_POINTER;
  *ppv = nullptr;
  if (!IsEqualIID(riid, IID_IUnknown) && !IsEqualIID(riid, IID_IEnumExplorerCommand)) return E_NOINTERFACE;
  *ppv = static_cast<IEnumExplorerCommand*>(this);
  AddRef();
  return S_OK;
}

STDMETHODIMP CommandEnumerator::Next(ULONG count, IExplorerCommand** commands, ULONG* fetched) noexcept {
  if (fetched != nullptr) *fetched = 0;
  if ((commands == nullptr && count > 0) || (fetched == nullptr && count > 1)) return E_POINTER;
  const Run run = Advance(count);
  for (size_t i = run.begin; i < run.end; ++i) *commands++ = HoldCom((*commands_)[i].Get()).Release();
  const auto given = static_cast<ULONG>(run.end - run.begin);
  if (fetched != nullptr) *fetched = given;
  return given == count ? S_OK : S_FALSE;
}

STDMETHODIMP CommandEnumerator::Skip(ULONG count) noexcept {
  const Run run = Advance(count);
  return run.end - run.begin == count ? S_OK : S_FALSE;
}

STDMETHODIMP CommandEnumerator::Reset() noexcept {
  const CriticalSectionHold hold(lock_);
  next_ = 0;
  return S_OK;
}

STDMETHODIMP CommandEnumerator::Clone(IEnumExplorerCommand** clone) noexcept {
  if (clone == nullptr) return E_POINTER;
  *clone = nullptr;
  return ComBoundary([&] {
    const CriticalSectionHold hold(lock_);
    // NOLINTNEXTLINE(bugprone-unhandled-exception-at-new): ComBoundary handles it
    *clone = HoldCom<IEnumExplorerCommand>(new CommandEnumerator(commands_, next_)).Release();
    return S_OK;
  });
}

CommandEnumerator::Run CommandEnumerator::Advance(ULONG count) noexcept {
  const CriticalSectionHold hold(lock_);
  const size_t begin = next_;
  next_ += std::min<size_t>(count, commands_->size() - begin);
  return {begin, next_};
}

}  // namespace veskard
