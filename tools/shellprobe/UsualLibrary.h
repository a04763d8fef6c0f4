// UsualLibrary: the library that an installation has for programs of one architecture.
#pragma once

#include <string>

#include "tools/shellprobe/Machine.h"

namespace veskard {

/// Whether a file is a library of this version that the view's programs can load.
bool FitsView(const std::wstring& file, const RegistryView& view);

/// One that fits the view at one of the usual places: beside this program or beside a
/// registered library, in the folder "x86" there, or in the folder above. Empty when there
/// is none.
std::wstring UsualLibraryFor(const RegistryView& view);

/// Whether a library of this version is meant to be registered in the view: in this
/// program's own always; in another one when it names a library, or one for it lies at a
/// usual place.
bool IsViewExpected(const RegistryView& view);

}  // namespace veskard
