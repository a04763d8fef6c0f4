// The steps that the installation package takes through a library of its own.
#include <windows.h>

#include <msi.h>
#include <msiquery.h>

#include <string>

#include "core/Owner.h"
#include "tools/installer_steps/LoggedProgram.h"

namespace veskard {
namespace {

constexpr DWORD kLimit = 5 * 60 * 1000;
constexpr UINT kMessage = 1;

struct InstallerHandle {
  using Value = MSIHANDLE;
  static constexpr Value Invalid() noexcept { return 0; }
  static void Close(Value value) noexcept { ::MsiCloseHandle(value); }
};
using UniqueRecord = Owner<InstallerHandle>;

std::wstring ReadProperty(MSIHANDLE installation, const wchar_t* name) {
  DWORD length = 0;
  wchar_t empty[] = L"";
  if (::MsiGetPropertyW(installation, name, empty, &length) != ERROR_MORE_DATA) return {};
  std::wstring text(++length, L'\0');
  if (::MsiGetPropertyW(installation, name, text.data(), &length) != ERROR_SUCCESS) return {};
  text.resize(length);
  return text;
}

/// One line of the installer's log.
void Say(MSIHANDLE installation, const std::wstring& line) {
  const UniqueRecord record(::MsiCreateRecord(kMessage));
  ::MsiRecordSetStringW(record.Get(), 0, L"Veskard: [1]");
  ::MsiRecordSetStringW(record.Get(), kMessage, line.c_str());
  ::MsiProcessMessage(installation, INSTALLMESSAGE_INFO, record.Get());
}

}  // namespace
}  // namespace veskard

/// A deferred step: runs the command line that it is given as its data, writes what that
/// prints into the log, and fails when that does.
extern "C" UINT __stdcall RunLogged(MSIHANDLE installation) {
  try {
    const std::wstring commandLine = veskard::ReadProperty(installation, L"CustomActionData");
    const auto say = [&](const std::wstring& line) { veskard::Say(installation, line); };
    const bool done = veskard::RunLoggedProgram(commandLine, veskard::kLimit, say) == ERROR_SUCCESS;
    return done ? ERROR_SUCCESS : ERROR_INSTALL_FAILURE;
  } catch (...) {
    return ERROR_INSTALL_FAILURE;
  }
}
