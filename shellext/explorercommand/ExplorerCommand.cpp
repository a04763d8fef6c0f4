#include "shellext/explorercommand/ExplorerCommand.h"

#include <cstring>
#include <new>
#include <string>
#include <string_view>

#include "core/ModuleHandle.h"
#include "core/TaskMemory.h"
#include "shellext/module/ComBoundary.h"
#include "util/string/strfmt.h"

namespace veskard {
namespace {

// Throws std::bad_alloc only.
wchar_t* NewTaskString(std::wstring_view text) {
  auto* const copy = static_cast<wchar_t*>(::CoTaskMemAlloc((text.size() + 1) * sizeof(wchar_t)));
  if (copy == nullptr) throw std::bad_alloc();
  std::memcpy(copy, text.data(), text.size() * sizeof(wchar_t));
  copy[text.size()] = L'\0';
  return copy;
}

}  // namespace

STDMETHODIMP ExplorerCommand::QueryInterface(REFIID riid, void** ppv) noexcept {
  if (ppv == nullptr) return E_POINTER;
  *ppv = nullptr;
  if (!IsEqualIID(riid, IID_IUnknown) && !IsEqualIID(riid, IID_IExplorerCommand)) return E_NOINTERFACE;
  *ppv = static_cast<IExplorerCommand*>(this);
  AddRef();
  return S_OK;
}

STDMETHODIMP ExplorerCommand::GetTitle(IShellItemArray*, wchar_t** title) noexcept {
  if (title == nullptr) return E_POINTER;
  *title = nullptr;
  return ComBoundary([&] {
    *title = NewTaskString(face_.title);
    return S_OK;
  });
}

STDMETHODIMP ExplorerCommand::GetIcon(IShellItemArray*, wchar_t** icon) noexcept {
  if (icon == nullptr) return E_POINTER;
  *icon = nullptr;
  // cppcheck-suppress throwInNoexceptFunction ; ComBoundary handles it
  return ComBoundary([&] {
    const std::wstring library = ReadWholeModulePath(ModuleHandle());
    if (library.empty()) return E_FAIL;
    *icon = NewTaskString(FormatString(L"%s,-%d", library, face_.picture));
    return S_OK;
  });
}

STDMETHODIMP ExplorerCommand::GetToolTip(IShellItemArray*, wchar_t** tip) noexcept {
  if (tip == nullptr) return E_POINTER;
  *tip = nullptr;
  return E_NOTIMPL;
}

STDMETHODIMP ExplorerCommand::GetCanonicalName(GUID* name) noexcept {
  if (name == nullptr) return E_POINTER;
  *name = face_.canonicalName;
  return S_OK;
}

STDMETHODIMP ExplorerCommand::GetState(IShellItemArray* selection, BOOL okToBeSlow,
                                       EXPCMDSTATE* state) noexcept {
  if (state == nullptr) return E_POINTER;
  *state = ECS_HIDDEN;
  // Reading the selection may run the host's code, which may release both.
  const UniqueCom<IExplorerCommand> self = HoldCom<IExplorerCommand>(this);
  const UniqueCom<IShellItemArray> held = HoldCom(selection);
  return ComBoundary([&] {
    MenuItems items;
    const auto patience = okToBeSlow ? MenuSnapshot::Patience::kLong : MenuSnapshot::Patience::kNone;
    const HRESULT result = snapshot_->ItemsFor(selection, patience, items);
    if (result == S_OK) *state = StateIn(items);
    return result;
  });
}

}  // namespace veskard
