// What tests of both rules for a large folder need.
#pragma once

#include <windows.h>

#include <shellapi.h>

#include <string>

#include "tests/support/ImportPatch.h"
#include "tests/support/TestIcons.h"

namespace veskard::test {

/// Whether the system says that it is at least 6.0 and older than 6.2.
bool ClaimsToBeOldSystem();

/// The stock folder icon at 256 × 256 pixels, as the system's library holds it.
Picture StockFolderPicture();

/// An icon with 256 × 256 pixels among the test's own resources.
inline constexpr int kOwnFolderIcon = 110;

/// Moves the stock folder icon, for this program, to a resource of a library or of
/// the program itself.
class StockFolderPatch {
 public:
  explicit StockFolderPatch(int resource);
  StockFolderPatch(const std::wstring& library, int resource);

 private:
  static HRESULT STDAPICALLTYPE Answer(SHSTOCKICONID id, UINT flags, SHSTOCKICONINFO* info);

  static inline std::wstring library_;
  static inline int resource_ = 0;
  const ImportPatch patch_{nullptr, "SHGetStockIconInfo", reinterpret_cast<void*>(&Answer)};
};

/// Counts the libraries that this program loads and frees while it lives.
class CountedLibraries {
 public:
  CountedLibraries();
  /// How often one was asked for, and how many were loaded and not freed.
  int Requests() const noexcept { return requests_; }
  int Loaded() const noexcept { return loads_ - frees_; }

 private:
  static HMODULE WINAPI Load(const wchar_t* name);
  static BOOL WINAPI Free(HMODULE library);

  static inline CountedLibraries* self_ = nullptr;
  int requests_ = 0;
  int loads_ = 0;
  int frees_ = 0;
  const FunctionPatch<decltype(::LoadLibraryW)> load_{nullptr, "LoadLibraryW", &Load};
  const FunctionPatch<decltype(::FreeLibrary)> free_{nullptr, "FreeLibrary", &Free};
};

}  // namespace veskard::test
