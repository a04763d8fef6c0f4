// The registry value that switches the diagnostic log.
#pragma once

namespace veskard {

/// Reads the REG_DWORD "ShellExtLog" of "Software\Nimbrel\Sync" in the 64-bit
/// view of HKEY_LOCAL_MACHINE: 0 is off, anything else on. On by default, that
/// is when the key or the value is missing or the value has another type.
bool ReadLogSwitch() noexcept;

}  // namespace veskard
