#include "shellext/module/Module.h"

#include <atomic>

#include "core/ModuleHandle.h"
#include "shellext/module/DiagnosticLog.h"
#include "shellext/module/Log.h"

namespace veskard {
namespace {

// Sender threads count themselves too, beside the apartments' threads.
constinit std::atomic<uint32_t> moduleLockCount = 0;
constinit std::atomic<uint32_t> serverLocks = 0;
constinit std::atomic<bool> moduleReady = false;
std::wstring modulePath;

}  // namespace

uint32_t ModuleLockCount() noexcept {
  return moduleLockCount + serverLocks;
}

void LockModule() noexcept {
  ++serverLocks;
}

void UnlockModule() noexcept {
  uint32_t locks = serverLocks;
  while (locks > 0 && !serverLocks.compare_exchange_weak(locks, locks - 1)) continue;
}

ModuleReference::ModuleReference() noexcept {
  ++moduleLockCount;
}

ModuleReference::~ModuleReference() {
  --moduleLockCount;
}

LogSwitchReader::LogSwitchReader() noexcept {
  RefreshLogState();
}

LogSwitchReader::~LogSwitchReader() {
  RefreshLogState();
}

ModuleUse::ModuleUse() noexcept = default;

void PrepareModule() {
  if (moduleReady) return;  // tested without a lock
  const CriticalSectionHold hold(LogLock());
  if (moduleReady) return;
  if (modulePath.empty()) modulePath = ReadModulePath(ModuleHandle());
  CreateLog();
  moduleReady = true;
}

const std::wstring& ModulePath() noexcept {
  return modulePath;
}

}  // namespace veskard
