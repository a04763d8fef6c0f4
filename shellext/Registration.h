// Registration: writes and removes the library's registry values.
#pragma once

#include <windows.h>

#include <array>
#include <string>
#include <vector>

namespace veskard {

/// The texts of the registration, by index.
enum RegistrationName : size_t {
  kHandlerName,     // "Nimbrel Veskard Agent Service VERSION"
  kAllFilesKey,     // the handler's key under "*"
  kShortcutKey,     //   ... under "lnkfile"
  kFolderKey,       //   ... under "Directory"
  kIconHandlerKey,  // the placeholder file type's icon handler
  kContextMenuClassId,
  kFileIconClassId,
  kRegistrationNameCount,
};
using RegistrationNames = std::array<std::wstring, kRegistrationNameCount>;

/// Computes the seven names. The handler name and the class identifiers carry the
/// version, so that every version has its own keys, except the icon handler's key,
/// which all versions share. Throws std::bad_alloc only.
RegistrationNames MakeRegistrationNames();

/// One value to write: REG_SZ `data` under `valueName` (empty: the key's default
/// value) of the key `keyPath`, whose "%s" stands for `keyArgument`. A null root
/// ends the table.
struct RegistryEntry {
  HKEY root;
  std::wstring keyPath;
  std::wstring valueName;
  DWORD valueType;
  std::wstring keyArgument;
  std::wstring data;
};

/// The path under which a library at `modulePath` is registered: an installer
/// may load a fresh copy whose name ends in exactly "_new.dll" while the
/// registry already names the final ".dll".
std::wstring ServerPathFor(std::wstring modulePath);

/// The ten rows of docs/registration.md and the terminating one.
std::vector<RegistryEntry> MakeRegistrationTable(const RegistrationNames& names,
                                                 const std::wstring& serverPath);

/// Writes the table after removing what was there; stops at the first key that
/// is refused and leaves the rows before it. Needs administrator rights. Notifies
/// the Shell, also in the removal. Throws std::bad_alloc only.
bool Register();

/// Removes this version's keys and the icon handler's, whichever version registered
/// that last, ignoring every refusal; always true. Keys outside "CLSID" are shared
/// with the library of the other bitness: when the registry's other view names a library
/// for a class, only the class's own keys are removed.
bool Unregister();

/// The work of DllInstall: S_OK or E_FAIL.
HRESULT Install(bool install, const wchar_t* commandLine);

}  // namespace veskard
