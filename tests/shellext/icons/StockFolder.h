// What tests of both rules for a large folder need.
#pragma once

#include <windows.h>

#include <shellapi.h>

#include <string>

#include "tests/support/Patched.h"
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
  const Patched<&::SHGetStockIconInfo> patch_;
};

/// Counts the libraries that this program loads and frees while it lives.
class CountedLibraries {
 public:
  /// How often one was asked for, and how many were loaded and not freed.
  int Requests() const noexcept { return requests_; }
  int Loaded() const noexcept { return loads_ - frees_; }

 private:
  int requests_ = 0;
  int loads_ = 0;
  int frees_ = 0;
  const Patched<&::LoadLibraryW> load_{"LoadLibraryW", [this](auto original, LPCWSTR name) {
                                         const HMODULE library = original(name);
                                         ++requests_;
                                         if (library != nullptr) ++loads_;
                                         return library;
                                       }};
  const Patched<&::FreeLibrary> free_{"FreeLibrary", [this](auto original, HMODULE library) {
                                        ++frees_;
                                        return original(library);
                                      }};
};

}  // namespace veskard::test
