// ExtensionClasses: where the Shell finds the extension's classes.
#pragma once

#include <guiddef.h>

#include <optional>
#include <string>

#include "core/WindowsOwners.h"
#include "tools/shellprobe/ComApartment.h"
#include "tools/shellprobe/Machine.h"

namespace veskard {

/// Gives out the extension's objects, activated through COM by the identifiers
/// that the registry holds for them, as Explorer does; or, for trying out a
/// library that is not registered, taken from that library's own class objects.
class ExtensionClasses {
 public:
  /// Through the registry.
  ExtensionClasses() = default;
  /// From a library file. Throws ToolError when it cannot be loaded.
  explicit ExtensionClasses(const std::wstring& library);

  /// A new context-menu handler for a selection whose first item is `path`.
  /// Throws ToolError(kNotRegistered).
  UniqueCom<IUnknown> NewMenuHandler(const std::wstring& path) const;

  /// A new icon handler for placeholders. Throws ToolError(kNotRegistered).
  UniqueCom<IUnknown> NewIconHandler() const;

  /// A new command of Explorer's own menu; only from a library file, VeskardExplorerCommand.dll.
  /// Throws ToolError(kNotRegistered).
  UniqueCom<IUnknown> NewExplorerCommand() const;

 private:
  UniqueCom<IUnknown> FromLibrary(const CLSID& classId) const;

  UniqueModule library_;
};

/// The file of the library that an object's code lies in: what was loaded, whatever the
/// registry names by now. Empty when the system does not say.
std::wstring LibraryOfObject(IUnknown* object);

// The registry's part of it, for reports:

/// "*", "Directory" or "lnkfile": the file class whose handlers a path gets.
std::wstring FileClassOf(const std::wstring& path);

/// The key below HKEY_LOCAL_MACHINE that names this version's handler.
std::wstring MenuHandlerKey(const std::wstring& fileClass);
std::wstring IconHandlerKey();

/// The text value of a key below HKEY_LOCAL_MACHINE, in one of the registry's views: that
/// of this program, unless another one is named. None when the key or the value is missing
/// or of another type.
std::optional<std::wstring> ReadMachineText(const std::wstring& key, const wchar_t* value = nullptr,
                                            REGSAM view = kOwnView);

}  // namespace veskard
