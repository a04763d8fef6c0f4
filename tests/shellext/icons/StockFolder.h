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

}  // namespace veskard::test
