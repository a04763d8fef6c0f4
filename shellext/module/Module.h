// The state that every object of the loaded library shares.
#pragma once

#include <windows.h>

#include <cstdint>
#include <string>

namespace veskard {

/// Live class factories, COM objects and sender threads, and the locks of LockModule.
/// DllCanUnloadNow of a library that exports it answers by this count. Other libraries keep
/// it for the analysis of a dump.
uint32_t ModuleLockCount() noexcept;

/// Keeps the module in use until UnlockModule, once for each call. Unlocking what is not
/// locked does nothing. Safe from several threads.
void LockModule() noexcept;
void UnlockModule() noexcept;

/// Counts its owner as a user of the module.
class ModuleReference {
 public:
  ModuleReference() noexcept;
  ~ModuleReference();
  ModuleReference(const ModuleReference&) = delete;
  ModuleReference& operator=(const ModuleReference&) = delete;
};

/// Re-reads the log switch in constructor and destructor, so that the switch takes effect in
/// a running host.
class LogSwitchReader {
 public:
  LogSwitchReader() noexcept;
  ~LogSwitchReader();
  LogSwitchReader(const LogSwitchReader&) = delete;
  LogSwitchReader& operator=(const LogSwitchReader&) = delete;
};

/// Both in one.
class ModuleUse {
 public:
  ModuleUse() noexcept;

 private:
  const LogSwitchReader logSwitch_;
  const ModuleReference reference_;
};

/// Run by every DllGetClassObject; the first one reads the module's path and
/// creates the log. A second thread waits until both are there. Throws
/// std::bad_alloc only, and the next call then tries again.
void PrepareModule();

/// The library's own path as read by the first DllGetClassObject; empty before.
const std::wstring& ModulePath() noexcept;

}  // namespace veskard
