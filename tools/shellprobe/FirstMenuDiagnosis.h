// FirstMenuDiagnosis: whether the first menu of Windows 11 has the extension's commands.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/shellprobe/IdentityPackage.h"
#include "tools/shellprobe/Machine.h"
#include "tools/shellprobe/PackageStore.h"
#include "tools/shellprobe/Report.h"

namespace veskard {

/// What decides about it.
struct FirstMenuState {
  Machine machine;
  std::wstring folder;                  // of the installation
  bool hasFile = false;                 // an identity package lies in it
  std::optional<PackageIdentity> file;  // what that says of itself; none when it cannot be read
  std::vector<KnownPackage> packages;   // those with our name
  bool isLeftOut = false;               // by a property of the installation
  std::wstring blockedAt;               // the key that blocks the class; empty when none does
};

/// This machine's, for this user. The installation's folder is that of this program or, when
/// no identity package lies there, of the registered library.
FirstMenuState ReadFirstMenuState(const Machine& machine = ReadMachine());

/// Whether that Windows has a menu of its own before the classic one.
bool HasFirstMenu(const Machine& machine);

/// Adds a section about it. Why the menu has none of the commands: "no identity is
/// registered"; null when nothing stands in the way.
const char* DiagnoseFirstMenu(Report& report, const FirstMenuState& state);

}  // namespace veskard
