#include "shellext/icons/ShellFileIcon.h"

#include <shellapi.h>
#include <shlwapi.h>

#include "core/ModuleHandle.h"
#include "core/Product.h"
#include "core/WindowsOwners.h"
#include "shellext/icons/IconCache.h"
#include "shellext/icons/PlaceholderIcon.h"

namespace veskard {
namespace {

constexpr wchar_t AsciiLower(wchar_t c) noexcept {
  return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c - L'A' + L'a') : c;
}

// `lower` is in lower case; only ASCII letters have a case here.
bool EqualsIgnoringCase(const wchar_t* text, const wchar_t* lower) noexcept {
  for (; *lower != 0; ++text, ++lower) {
    if (AsciiLower(*text) != *lower) return false;
  }
  return *text == 0;
}

// The low word holds the large size that the Shell wants, the high word the small.
bool AsksForTwoSizes(UINT iconSize) noexcept {
  return LOWORD(iconSize) != HIWORD(iconSize);
}

// Out of memory costs this icon; the other one is shown all the same.
UniqueIcon ComposeOrNone(const wchar_t* path, bool large) noexcept {
  try {
    return ComposePlaceholderIcon(path, large);
  } catch (...) {
    return {};
  }
}

}  // namespace

ShellFileIcon::ShellFileIcon() : modulePath_(ReadModulePath(ModuleHandle())) {}

ShellFileIcon::~ShellFileIcon() {
  IconCache& cache = SharedIconCache();
  const CriticalSectionHold hold(cache.Lock());
  cache.Clear();
}

HRESULT ShellFileIcon::QueryInterface(REFIID riid, void** ppv) noexcept {
  if (ppv == nullptr) return E_POINTER;
  *ppv = nullptr;
  if (riid == IID_IUnknown || riid == IID_IExtractIconW) {
    *ppv = static_cast<IExtractIconW*>(this);
  } else if (riid == IID_IPersistFile) {
    *ppv = static_cast<IPersistFile*>(this);
  } else {
    return E_NOINTERFACE;
  }
  AddRef();
  return S_OK;
}

HRESULT ShellFileIcon::GetClassID(CLSID*) noexcept {
  return E_NOTIMPL;
}

HRESULT ShellFileIcon::IsDirty() noexcept {
  return E_NOTIMPL;
}

HRESULT ShellFileIcon::Load(LPCOLESTR pszFileName, DWORD) noexcept {
  ::lstrcpynW(fileName_, pszFileName, MAX_PATH);
  return S_OK;
}

HRESULT ShellFileIcon::Save(LPCOLESTR, BOOL) noexcept {
  return E_NOTIMPL;
}

HRESULT ShellFileIcon::SaveCompleted(LPCOLESTR) noexcept {
  return E_NOTIMPL;
}

HRESULT ShellFileIcon::GetCurFile(LPOLESTR*) noexcept {
  return E_NOTIMPL;
}

HRESULT ShellFileIcon::GetIconLocation(UINT, PWSTR, UINT, int*, UINT* pwFlags) noexcept {
  if (pwFlags != nullptr) *pwFlags = GIL_NOTFILENAME | GIL_DONTCACHE;
  return S_OK;
}

HRESULT ShellFileIcon::Extract(PCWSTR, UINT, HICON* phiconLarge, HICON* phiconSmall,
                               UINT nIconSize) noexcept {
  if (!EqualsIgnoringCase(::PathFindExtensionW(fileName_), kPlaceholderExtension)) return E_NOTIMPL;
  const bool twoSizes = AsksForTwoSizes(nIconSize);
  if (phiconLarge != nullptr) *phiconLarge = ComposeOrNone(fileName_, twoSizes).Release();
  if (phiconSmall == nullptr) return S_OK;
  // The same small icon twice is composed once.
  const bool isCopy = !twoSizes && phiconLarge != nullptr;
  *phiconSmall = isCopy ? ::DuplicateIcon(nullptr, *phiconLarge) : ComposeOrNone(fileName_, false).Release();
  return S_OK;
}

}  // namespace veskard
