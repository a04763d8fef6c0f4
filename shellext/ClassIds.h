// The class identifiers, formed from one template and the extension's version.
#pragma once

#include <guiddef.h>

#include "core/Product.h"

namespace veskard {

/// Seven identifiers exist, by index. A new version of the extension has new
/// ones, so that two versions can be registered side by side.
inline constexpr unsigned kClassIdCount = 7;

/// The indices in use; 2, 3 and 4 are formed and never served. The
/// identity package (installer/make_msix.py) reads the explorer command's from here.
enum ClassIndex : unsigned {
  kContextMenuClassUnregistered = 0,  // served, but not written by registration
  kFileIconClassUnregistered = 1,     // the same
  kContextMenuClass = 5,
  kFileIconClass = 6,
  kExplorerCommandClass = 7,  // another library's, VeskardExplorerCommand.dll: its text is not formed here
};

/// The identifier of an index as a GUID:
///
///     {8AF594ii-CC05-mmmm-nnpp-AE6472CC92B2}
///            |         |   | +- patch version   } both in Data4, the fourth
///            |         |   +--- minor version   } group of the text
///            |         +------- major version, Data3
///            +----------------- index
constexpr GUID ClassId(unsigned index) noexcept {
  return {0x8AF59400 + index,
          0xCC05,
          kVersionMajor,
          {kVersionMinor, kVersionPatch, 0xAE, 0x64, 0x72, 0xCC, 0x92, 0xB2}};
}

/// The same as text in braces, upper case; `index` is below kClassIdCount. The
/// text is formatted when the library loads and valid until it unloads.
const wchar_t* ClassIdText(unsigned index) noexcept;

/// Compares the two 64-bit halves.
bool SameClassId(const GUID& one, const GUID& other) noexcept;

}  // namespace veskard
