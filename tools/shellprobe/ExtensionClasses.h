// ExtensionClasses: where the Shell finds the extension's classes.
#pragma once

#include <guiddef.h>

#include <optional>
#include <string>

#include "core/WindowsOwners.h"
#include "tools/shellprobe/ComApartment.h"
#include "tools/shellprobe/Machine.h"

namespace veskard {

/// Creates the extension's objects, through COM by the identifiers in the registry, as
/// Explorer does; or, for a library that is not registered, through that library's own class
/// objects.
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

/// The file of the library that holds an object's code: the loaded one, whatever the
/// registry names by now. Empty when the system does not return it.
std::wstring LibraryOfObject(IUnknown* object);

// The same values from the registry, for reports:

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
