// StandInNetwork: drives and shares as a computer in a network has them, answered as the
// system's documentation says.
#pragma once

#include <string>

#include "shellext/contextmenu/UniversalNames.h"

namespace veskard::test {

/// What the system makes of a path on a mapped drive.
enum class Answers {
  kLiterally,   // X:/a\.\b\ is \\server\share/a\.\b\ .
  kTidily,      // the same is \\server\share\a\b
  kSharesBare,  // literally, and X:\ is \\server\share
};

/// The calls; each of them clears the record of earlier requests.
///
///     A: C: D: E: F:   removable, fixed, ramdisk, compact disc; F: is a folder of C:
///     X:               \\server\share
///     Y:               \\server\share\a folder\below
///     V:               a folder of X:, of which no network knows
///     R:               remembered, and not connected at the moment
///     O: P:            of a network that fails; that reports a size of zero
///     L:               a share with a name of 40,000 characters
///     all others       not there
NetworkCalls StandInNetwork(Answers answers = Answers::kLiterally);

/// What the system was asked for since the calls were made.
int DriveTypesAsked();
int UniversalNamesAsked();

/// The answer to one path, asked for by itself; the path where there is none.
std::wstring UniversalNameByItself(const std::wstring& path);

}  // namespace veskard::test
