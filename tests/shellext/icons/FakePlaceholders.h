// FakePlaceholders: stands in for the inspection of marks on disk, so that a test
// says itself what each path is.
#pragma once

#include <string>

#include "shellext/icons/PlaceholderStatus.h"

namespace veskard::test {

struct FakePlaceholder {
  PlaceholderStatus status;
  bool inSelectiveFolder = false;
};

/// From now on for `path`; every other path is a file of unknown progress outside
/// any selective folder. Not while another thread composes.
void SetPlaceholder(const std::wstring& path, const FakePlaceholder& placeholder);
void ForgetPlaceholders();

}  // namespace veskard::test
