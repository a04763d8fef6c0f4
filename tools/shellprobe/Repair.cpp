#include "tools/shellprobe/Repair.h"

#include <windows.h>

#include <optional>

#include "core/Product.h"
#include "core/WindowsOwners.h"
#include "tools/common/ToolError.h"
#include "tools/common/Utf8.h"
#include "tools/shellprobe/RegisteredLibrary.h"
#include "tools/shellprobe/UsualLibrary.h"
#include "tools/shellprobe/ViewDiagnosis.h"

namespace veskard {
namespace {

constexpr DWORD kPatience = 60'000;  // milliseconds

void RegisterHere(const std::wstring& file) {
  using Install = HRESULT(WINAPI*)(BOOL, const wchar_t*);
  const UniqueModule library(::LoadLibraryExW(file.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH));
  if (!library) throw LastSystemError("cannot load " + ToUtf8(file));
  const FARPROC address = ::GetProcAddress(library.Get(), "DllInstall");
  if (address == nullptr) throw LastSystemError(ToUtf8(file) + " has no DllInstall");
  const HRESULT result = reinterpret_cast<Install>(reinterpret_cast<void*>(address))(TRUE, L"S");
  if (FAILED(result)) {
    throw ToolError(ExitCode::kFailed,
                    "registration failed (" + HexCode(result) + "); it needs administrator rights");
  }
}

using FolderQuery = UINT(WINAPI*)(wchar_t* folder, UINT size);

std::wstring SystemFolder(FolderQuery query) {
  wchar_t folder[MAX_PATH] = {};
  const UINT length = query(folder, MAX_PATH);
  return length < MAX_PATH ? std::wstring(folder, length) : std::wstring();
}

// Of the programs of the other bitness. 32-bit ones see the 64-bit system folder as "Sysnative".
std::wstring OtherRegsvr32() {
  const std::wstring folder = OwnArchitecture() == Architecture::k32Bit
                                  ? SystemFolder(&::GetSystemWindowsDirectoryW) + L"\\Sysnative"
                                  : SystemFolder(&::GetSystemWow64DirectoryW);
  return folder + L"\\regsvr32.exe";
}

// The exit code of a program that runs in the background; throws ToolError when it does not end.
DWORD Run(const std::wstring& program, std::wstring commandLine) {
  STARTUPINFOW start = {};
  start.cb = sizeof start;
  PROCESS_INFORMATION process = {};
  if (!::CreateProcessW(program.c_str(), commandLine.data(), nullptr, nullptr, FALSE, CREATE_NO_WINDOW,
                        nullptr, nullptr, &start, &process)) {
    throw LastSystemError("cannot start " + ToUtf8(program));
  }
  const UniqueHandle handle(process.hProcess);
  const UniqueHandle thread(process.hThread);
  DWORD exitCode = STILL_ACTIVE;
  if (::WaitForSingleObject(handle.Get(), kPatience) != WAIT_OBJECT_0 ||
      !::GetExitCodeProcess(handle.Get(), &exitCode)) {
    throw ToolError(ExitCode::kTimeLimit, ToUtf8(program) + " did not end in time");
  }
  return exitCode;
}

void RegisterElsewhere(const std::wstring& file) {
  const std::wstring program = OtherRegsvr32();
  const DWORD exitCode = Run(program, L"\"" + program + L"\" /s /n /i:S \"" + file + L"\"");
  if (exitCode == 0) return;
  throw ToolError(ExitCode::kFailed, "registration failed (" + ToUtf8(program) + " ended with " +
                                         std::to_string(exitCode) + "); it needs administrator rights");
}

// The library to register for a view that has a fault.
std::wstring LibraryFor(const RegistryView& view) {
  std::wstring library = RegisteredLibraryPath(view.flag);
  if (!FitsView(library, view)) library = UsualLibraryFor(view);
  if (!library.empty()) return library;
  throw ToolError(ExitCode::kFailed, std::string("no ") + ArchitectureName(view.programs) +
                                         " VeskardShellExt.dll of version " + ToUtf8(kVersionText) +
                                         " is beside this program; name one with --dll FILE");
}

bool NeedsRepair(const RegistryView& view, bool handlersGood) {
  if (!IsViewExpected(view)) return false;
  Report report;
  DiagnoseView(report, view, handlersGood);
  return report.HasBad();
}

}  // namespace

void RegisterLibrary(const std::wstring& file) {
  const Architecture architecture = ArchitectureOfFile(file);
  const bool isOtherBitness =
      architecture != Architecture::kNone &&
      (architecture == Architecture::k32Bit) != (OwnArchitecture() == Architecture::k32Bit);
  if (isOtherBitness) {
    RegisterElsewhere(file);
  } else {
    RegisterHere(file);
  }
}

void RepairRegistration(const Machine& machine) {
  std::optional<ToolError> failure;
  for (const RegistryView& view : RegistryViewsOf(machine)) {
    Report handlers;
    try {
      if (NeedsRepair(view, DiagnoseHandlers(handlers))) RegisterLibrary(LibraryFor(view));
    } catch (const ToolError& error) {
      if (!failure) failure = error;
    }
  }
  if (failure) throw ToolError(*failure);
}

}  // namespace veskard
