// MachineState: the registry and the disk, to compare before and after.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "tests/support/RegistrySnapshot.h"

namespace veskard::test {

/// All of the machine's and the user's software settings, the system's list of
/// files to be moved at the next start, and every file of drive C: with its size.
/// Left out are the users' own folders, temporary files and what belongs to the
/// installer engine alone: its folder, and keys of its own that it leaves empty.
struct MachineState {
  RegistrySnapshot registry;
  std::map<std::wstring, uint64_t> files;  // folders have no size

  bool operator==(const MachineState&) const = default;
};

MachineState TakeMachineState();

/// What the second has and the first has not, or not so: "place = value" of
/// registry values, plain paths of files; sorted. Swap the two for what is gone.
std::vector<std::wstring> Added(const MachineState& before, const MachineState& after);

/// The same without the installer engine's own books and its list of programs.
std::vector<std::wstring> AddedByPackage(const MachineState& before, const MachineState& after);

}  // namespace veskard::test
