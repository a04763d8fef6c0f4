#include "shellext/module/DiagnosticLog.h"

#include <shlobj.h>

#include <new>

#include "core/ModuleHandle.h"
#include "core/Product.h"
#include "core/WindowsOwners.h"
#include "fs/util/FileInfo.h"
#include "fs/util/Handle.h"
#include "shellext/module/Clock.h"
#include "shellext/module/Log.h"
#include "util/string/strfmt.h"

namespace veskard {

constinit std::atomic<bool> logEnabled = false;

namespace {

constexpr wchar_t kSwitchKey[] = L"Software\\Nimbrel\\Sync";
constexpr wchar_t kSwitchValue[] = L"ShellExtLog";
constexpr bool kOnByDefault = true;

constexpr wchar_t kStartLine[] = L"=== start ===";
constexpr wchar_t kEndLine[] = L"==== end ====";
constexpr wchar_t kFileName[] = L"ShellExtCM.log";
constexpr wchar_t kOldSuffix[] = L".old";

/// The offset that stands for the end of the file as it is when the write
/// happens. The system finds it and writes as one step, so that processes that
/// share the log do not overwrite one another; a file position is each
/// process's own and would.
constexpr uint64_t kAtEndOfFile = ~uint64_t{0};

CriticalSection logLock;
constinit std::unique_ptr<DiagnosticLog> diagnosticLog;

/// Raises a flag for a scope.
class FlagScope {
 public:
  explicit FlagScope(bool& flag) noexcept : flag_(flag) { flag_ = true; }
  ~FlagScope() { flag_ = false; }
  FlagScope(const FlagScope&) = delete;
  FlagScope& operator=(const FlagScope&) = delete;

 private:
  bool& flag_;
};

/// The log never reports its own failures, and running out of memory is one.
template <class Body>
void Swallowing(Body&& body) noexcept {
  try {
    body();
  } catch (const std::bad_alloc&) {
  }
}

/// "explorer.exe:4412"
std::wstring ProcessTag() {
  const std::wstring path = ReadModulePath(nullptr);
  const std::wstring name = path.substr(path.find_last_of(L"\\/") + 1);
  return FormatString(L"%s:%d", name, ::GetCurrentProcessId());
}

}  // namespace

std::wstring DiagnosticLogPath() {
  wchar_t folder[MAX_PATH] = {};
  if (!::SHGetSpecialFolderPathW(nullptr, folder, CSIDL_APPDATA, FALSE)) return {};
  return FormatString(L"%s\\%s\\%s", folder, kAgentName, kFileName);
}

bool ReadLogSwitch() noexcept {
  UniqueRegKey key;
  if (::RegOpenKeyExW(HKEY_LOCAL_MACHINE, kSwitchKey, 0, KEY_READ | KEY_WOW64_64KEY, key.Out()) !=
      ERROR_SUCCESS)
    return kOnByDefault;
  DWORD type = REG_NONE;
  DWORD value = 0;
  DWORD size = sizeof(value);
  const LSTATUS status =
      ::RegQueryValueExW(key.Get(), kSwitchValue, nullptr, &type, reinterpret_cast<BYTE*>(&value), &size);
  if (status != ERROR_SUCCESS || type != REG_DWORD || size != sizeof(value)) return kOnByDefault;
  return value != 0;
}

DiagnosticLog::DiagnosticLog() : path_(DiagnosticLogPath()), processTag_(ProcessTag()) {}

void DiagnosticLog::SetEnabled(bool enabled) noexcept {
  enabled_ = enabled;
  logEnabled.store(enabled, std::memory_order_relaxed);
}

bool DiagnosticLog::Switch(bool on) noexcept {
  if (on == enabled_) return enabled_;
  if (on) {
    SetEnabled(true);  // first, or the start line would not be written
    SetEnabled(Open());
  } else {
    Close();
    SetEnabled(false);
  }
  return enabled_;
}

bool DiagnosticLog::Open() noexcept {
  if (file_) return true;
  if (path_.empty()) return false;
  Swallowing([&] {
    const std::shared_ptr<SyncHandle> file = MakeHandle(PathVector(path_), HandleKind::kFile);
    if (file->Open(kModeAppend, 0, 0)) file_ = file;
  });
  renamed_ = false;
  if (!file_) return false;
  WriteLine(kStartLine, FormatArgs());
  return enabled_;  // the line may have rotated the file and failed to open the next
}

void DiagnosticLog::Close() noexcept {
  if (!file_ || closing_) return;
  const FlagScope closing(closing_);
  WriteLine(kEndLine, FormatArgs());
  file_->Close();
  file_.reset();
}

void DiagnosticLog::WriteLine(const wchar_t* format, FormatArgs args) noexcept {
  if (!enabled_ || !file_) return;
  Swallowing([&] {
    // The one question that a line costs. Asked before the write, since a deleted file gets
    // no more lines; what another process adds meanwhile is counted by the next line.
    const OpenObjectState before = file_->GetOpenState().value_or(OpenObjectState{});
    if (before.deletePending) return Close();
    const uint32_t written = Append(format, args);
    if (before.size + written > kLogRotationThreshold) Rotate();
  });
}

uint32_t DiagnosticLog::Append(const wchar_t* format, FormatArgs args) {
  const std::wstring message = FormatStringArgs(format, args);
  const std::string time = LogTimestamp(SecondsSince1970());
  const std::wstring line = FormatString(L"%S (%s) %s\r\n", time, processTag_, message);
  const auto size = static_cast<uint32_t>(line.size() * sizeof(wchar_t));
  const uint32_t written = file_->WriteAt(line.data(), size, kAtEndOfFile);
  file_->Flush(nullptr);
  return written;
}

void DiagnosticLog::Rotate() {
  if (!file_ || rotating_ || !IsUnderItsName()) return;
  const FlagScope rotating(rotating_);
  const std::wstring path = file_->Path();
  const std::wstring old = path + kOldSuffix;
  Close();
  // An old log is not replaced: the move then fails and the current log goes
  // instead, so that the first generation is the one that is kept.
  if (!::MoveFileExW(path.c_str(), old.c_str(), MOVEFILE_WRITE_THROUGH)) ::DeleteFileW(path.c_str());
  SetEnabled(Open());
}

// Asked of a file that is too large: another process may have renamed it, and what has its
// name now is not for this process to rotate.
bool DiagnosticLog::IsUnderItsName() {
  if (renamed_) return false;
  FileInfoImpl named(file_->Path());
  const bool found = named.Refresh(kRefreshByOpening);
  if (found && named.GetSize() > kLogRotationThreshold) return true;
  renamed_ = found || !named.Exists();
  return false;
}

CriticalSection& LogLock() noexcept {
  return logLock;
}

void CreateLog() noexcept {
  const CriticalSectionHold hold(logLock);
  if (diagnosticLog) return;
  Swallowing([] {
    diagnosticLog = std::make_unique<DiagnosticLog>();
    diagnosticLog->Switch(ReadLogSwitch());
  });
}

bool RefreshLogState() noexcept {
  const CriticalSectionHold hold(logLock);
  return diagnosticLog && diagnosticLog->Switch(ReadLogSwitch());
}

void WriteLogLine(const wchar_t* format, FormatArgs args) noexcept {
  const CriticalSectionHold hold(logLock);
  if (diagnosticLog) diagnosticLog->WriteLine(format, args);
}

void CloseLogAtDetach(Detach detach) noexcept {
  const bool unloading = detach == Detach::kUnload;
  if (unloading) {
    logLock.Enter();
  } else if (!logLock.TryEnter()) {
    return;
  }
  if (diagnosticLog) diagnosticLog->Switch(false);
  if (unloading) diagnosticLog.reset();
  logLock.Leave();
}

}  // namespace veskard
