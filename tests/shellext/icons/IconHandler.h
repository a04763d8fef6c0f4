// IconHandler: a placeholder icon handler as Explorer has it, made by the factory
// and reached through its interfaces.
#pragma once

#include <objidl.h>
#include <shlobj.h>

#include <string>

#include "core/WindowsOwners.h"
#include "tests/support/TestIcons.h"

namespace veskard::test {

/// What one Extract gave.
struct ExtractedIcons {
  HRESULT result = E_UNEXPECTED;
  UniqueIcon large;
  UniqueIcon small;
};

class IconHandler {
 public:
  /// The test fails when the factory refuses.
  IconHandler();
  explicit IconHandler(const std::wstring& file) : IconHandler() { Load(file); }

  IPersistFile& File() const noexcept { return *file_.Get(); }
  IExtractIconW& Icons() const noexcept { return *icons_.Get(); }

  void Load(const std::wstring& file) const;
  ExtractedIcons Extract(UINT iconSize = kTwoSizes) const;

 private:
  UniqueCom<IPersistFile> file_;
  UniqueCom<IExtractIconW> icons_;
};

}  // namespace veskard::test
