// ShellFileIcon: the Shell's icon handler for placeholder files.
#pragma once

#include <objidl.h>
#include <shlobj.h>

#include <string>

#include "shellext/module/GdiplusUser.h"
#include "shellext/module/Module.h"
#include "shellext/module/RefCountedObject.h"

namespace veskard {

/// Made by Explorer for one file: Load gives the path, Extract answers with icons
/// that the Shell is asked not to keep, so that they follow the download. Belongs
/// to the apartment that created it. Made by ClassFactory with reference count 0.
class ShellFileIcon final : public IPersistFile, public IExtractIconW, private RefCountedObject {
 public:
  ShellFileIcon();
  /// Empties the icon cache, also under other live handlers: they fill it again.
  ~ShellFileIcon() override;

  /// IUnknown and IExtractIconW give the IExtractIconW face, IPersistFile its own;
  /// everything else, IPersist among it, is E_NOINTERFACE.
  STDMETHODIMP QueryInterface(REFIID riid, void** ppv) noexcept override;
  STDMETHODIMP_(ULONG) AddRef() noexcept override { return AddReference(); }
  STDMETHODIMP_(ULONG) Release() noexcept override { return ReleaseReference(); }

  // IPersistFile. Only Load does anything; the others answer E_NOTIMPL.
  STDMETHODIMP GetClassID(CLSID* classId) noexcept override;
  STDMETHODIMP IsDirty() noexcept override;
  /// Keeps the first 259 characters of `pszFileName`.
  STDMETHODIMP Load(LPCOLESTR pszFileName, DWORD dwMode) noexcept override;
  STDMETHODIMP Save(LPCOLESTR pszFileName, BOOL fRemember) noexcept override;
  STDMETHODIMP SaveCompleted(LPCOLESTR pszFileName) noexcept override;
  STDMETHODIMP GetCurFile(LPOLESTR* ppszFileName) noexcept override;

  // IExtractIconW.
  /// Always S_OK with GIL_NOTFILENAME | GIL_DONTCACHE; the other results are left
  /// as they are. A null `pwFlags` is skipped.
  STDMETHODIMP GetIconLocation(UINT uFlags, PWSTR szIconFile, UINT cchMax, int* piIndex,
                               UINT* pwFlags) noexcept override;
  /// For a file that was loaded with the extension ".ghpl" (in any case): S_OK and
  /// two icons, owned by the caller, either of them null when composing it failed,
  /// also when out of memory. Where `nIconSize` asks for one size twice, both are the
  /// small icon. A null pointer is skipped and its icon not made. E_NOTIMPL and
  /// nothing touched for any other file.
  STDMETHODIMP Extract(PCWSTR pszFile, UINT nIconIndex, HICON* phiconLarge, HICON* phiconSmall,
                       UINT nIconSize) noexcept override;

 private:
  // Released from the last to the first, after the cache.
  const ModuleUse moduleUse_;
  const GdiplusUser gdiplusUser_;
  const std::wstring modulePath_;
  wchar_t fileName_[MAX_PATH] = {};
};

}  // namespace veskard
