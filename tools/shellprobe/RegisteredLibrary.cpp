#include "tools/shellprobe/RegisteredLibrary.h"

#include <windows.h>

#include <vector>

#include "core/Product.h"
#include "core/WindowsOwners.h"
#include "fs/util/Files.h"
#include "shellext/ClassIds.h"
#include "tools/common/ToolError.h"
#include "tools/common/Utf8.h"
#include "tools/shellprobe/ExtensionClasses.h"

namespace veskard {
namespace {

constexpr const char* kExports[] = {"DllGetClassObject", "DllRegisterServer", "DllUnregisterServer",
                                    "DllInstall", "GetExtVersion"};

void ReportVersion(Report& report, const std::wstring& file) {
  const std::string version = FileVersionText(file);
  const std::string ownVersion = ToUtf8(kVersionText);
  if (version == ownVersion) {
    report.Good("version", "its version is " + version, version);
  } else {
    report.Bad(
        "version",
        "its version is " + (version.empty() ? "unknown" : version) + ", this program's is " + ownVersion,
        version);
  }
}

bool ReportExports(Report& report, const std::wstring& file) {
  const UniqueModule library(::LoadLibraryExW(file.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH));
  if (!library) {
    report.Bad("exports", LastSystemError("it cannot be loaded").what());
    return false;
  }
  for (const char* name : kExports) {
    if (::GetProcAddress(library.Get(), name) != nullptr) continue;
    report.Bad("exports", std::string("it loads but has no ") + name);
    return false;
  }
  report.Good("exports", "it loads and has its five exports");
  return true;
}

bool ReportArchitecture(Report& report, const std::wstring& file, Architecture programs) {
  const Architecture found = ArchitectureOfFile(file);
  const std::string name = ArchitectureName(found);
  if (found == programs) {
    report.Good("architecture", "it is for " + name + " programs", name);
  } else if (found == Architecture::kNone) {
    report.Bad("architecture", "it is not a library");
  } else {
    report.Bad("architecture",
               "it is for " + name + " programs: " + ArchitectureName(programs) + " programs cannot load it",
               name);
  }
  return found == programs;
}

}  // namespace

std::wstring LibraryOfClass(const std::wstring& classId, REGSAM view) {
  const std::wstring key = L"Software\\Classes\\CLSID\\" + classId + L"\\InprocServer32";
  return ReadMachineText(key, nullptr, view).value_or(std::wstring());
}

std::wstring RegisteredLibraryPath(REGSAM view) {
  return LibraryOfClass(ClassIdText(kContextMenuClass), view);
}

std::string FileVersionText(const std::wstring& file) {
  DWORD ignored = 0;
  std::vector<char> data(::GetFileVersionInfoSizeW(file.c_str(), &ignored));
  void* place = nullptr;
  UINT size = 0;
  if (data.empty() || !::GetFileVersionInfoW(file.c_str(), 0, static_cast<DWORD>(data.size()), data.data()) ||
      !::VerQueryValueW(data.data(), L"\\", &place, &size)) {
    return {};
  }
  const auto* const info = static_cast<const VS_FIXEDFILEINFO*>(place);
  return std::to_string(HIWORD(info->dwFileVersionMS)) + "." + std::to_string(LOWORD(info->dwFileVersionMS)) +
         "." + std::to_string(HIWORD(info->dwFileVersionLS));
}

const char* ReportLibraryFile(Report& report, const std::wstring& file, Architecture programs) {
  if (!FileExists(file.c_str())) {
    report.Bad("library", "the registry names a library that does not exist: " + ToUtf8(file), ToUtf8(file));
    return "their library does not exist";
  }
  report.Good("library", "the library is " + ToUtf8(file), ToUtf8(file));
  if (!ReportArchitecture(report, file, programs)) return "they cannot load the library that is registered";
  ReportVersion(report, file);
  if (programs == OwnArchitecture() && !ReportExports(report, file)) return "their library cannot be used";
  return nullptr;
}

}  // namespace veskard
