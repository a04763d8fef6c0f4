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

/// The facts that decide this.
struct FirstMenuState {
  Machine machine;
  std::wstring folder;                  // of the installation
  bool hasFile = false;                 // an identity package lies in it
  std::optional<PackageIdentity> file;  // its content; none when it cannot be read
  std::vector<KnownPackage> packages;   // those with our name
  bool isLeftOut = false;               // by a property of the installation
  std::wstring blockedAt;               // the key that blocks the class; empty when none does
};

/// This machine's, for this user. The installation's folder is that of this program or, when
/// no identity package lies there, of the registered library.
FirstMenuState ReadFirstMenuState(const Machine& machine = ReadMachine());

/// Whether that Windows has this menu.
bool HasFirstMenu(const Machine& machine);

/// Adds a section about it. Returns the reason why the menu has none of the commands, such as
/// "no identity is registered"; null when it has them.
const char* DiagnoseFirstMenu(Report& report, const FirstMenuState& state);

}  // namespace veskard
