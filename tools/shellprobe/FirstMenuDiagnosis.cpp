#include "tools/shellprobe/FirstMenuDiagnosis.h"

#include <windows.h>
// After windows.h, which it needs.
#include <objbase.h>

#include "core/ModuleHandle.h"
#include "core/Product.h"
#include "core/WindowsOwners.h"
#include "fs/util/Files.h"
#include "shellext/ClassIds.h"
#include "tools/common/Utf8.h"
#include "tools/shellprobe/DoctorFacts.h"
#include "tools/shellprobe/ExtensionClasses.h"
#include "tools/shellprobe/RegisteredLibrary.h"

namespace veskard {
namespace {

constexpr unsigned kWindows11 = 22000;
constexpr wchar_t kBlockedKey[] = L"Software\\Microsoft\\Windows\\CurrentVersion\\Shell Extensions\\Blocked";
// Where the installation notes whether it was to register the identity: "1", or "0".
constexpr wchar_t kRecordKey[] = L"Software\\Nimbrel\\Explorer Extension";
constexpr wchar_t kRecordValue[] = L"FirstLevelMenu";
constexpr wchar_t kLibraryName[] = L"VeskardExplorerCommand.dll";

// Why the menu has none of the commands.
constexpr char kOneMenu[] = "this Windows shows the classic menu only";
constexpr char kNoIdentity[] = "no identity is registered";
constexpr char kLeftOut[] = "the installation left it out";
constexpr char kNotYet[] = "the identity is not registered for this user yet";
constexpr char kForeign[] = "the identity is another publisher's";
constexpr char kOtherVersion[] = "the identity is of another version";
constexpr char kBadLibrary[] = "its library cannot be used";
constexpr char kBlocked[] = "its class is blocked";

std::wstring FolderOf(const std::wstring& file) {
  const size_t end = file.find_last_of(L'\\');
  return end == std::wstring::npos ? std::wstring() : file.substr(0, end);
}

bool HasIdentityFile(const std::wstring& folder) {
  return !folder.empty() && FileExists((folder + L"\\" + kIdentityFileName).c_str());
}

std::wstring InstallationFolder() {
  const std::wstring own = FolderOf(ReadModulePath(nullptr));
  const std::wstring registered = FolderOf(RegisteredLibraryPath());
  return !HasIdentityFile(own) && HasIdentityFile(registered) ? registered : own;
}

std::wstring ExplorerCommandId() {
  wchar_t text[40] = {};
  ::StringFromGUID2(ClassId(kExplorerCommandClass), text, static_cast<int>(std::size(text)));
  return text;
}

bool IsBlockedIn(HKEY root) {
  UniqueRegKey key;
  return ::RegOpenKeyExW(root, kBlockedKey, 0, KEY_READ | KEY_WOW64_64KEY, key.Out()) == ERROR_SUCCESS &&
         ::RegQueryValueExW(key.Get(), ExplorerCommandId().c_str(), nullptr, nullptr, nullptr, nullptr) ==
             ERROR_SUCCESS;
}

std::wstring BlockingKey() {
  if (IsBlockedIn(HKEY_LOCAL_MACHINE)) return std::wstring(L"HKEY_LOCAL_MACHINE\\") + kBlockedKey;
  if (IsBlockedIn(HKEY_CURRENT_USER)) return std::wstring(L"HKEY_CURRENT_USER\\") + kBlockedKey;
  return {};
}

const char* ReportUsers(Report& report, const KnownPackage& package) {
  const std::string name = ToUtf8(package.fullName);
  if (!package.forThisUser) {
    report.Bad(kIdentityFact,
               "the identity " + name + " is provisioned for all users, but not registered for this one yet",
               name);
    report.Note("repair", "this user gets it at the next sign-in: sign out and in again");
    return kNotYet;
  }
  report.Good(kIdentityFact,
              "the identity " + name + " is registered for " +
                  (package.forAllUsers ? "this user, and for all users" : "this user only"),
              name);
  return nullptr;
}

const char* ReportPublisher(Report& report, const FirstMenuState& state, const std::wstring& publisherId) {
  const std::string id = ToUtf8(publisherId);
  if (!state.file) {
    report.Note(kPublisherFact,
                std::string("its publisher cannot be checked: there is no readable ") +
                    ToUtf8(kIdentityFileName) + " to compare it with",
                id);
    return nullptr;
  }
  const std::string publisher = ToUtf8(state.file->publisher);
  if (PublisherIdOf(state.file->publisher) == publisherId) {
    report.Good(kPublisherFact, "its publisher is " + publisher, publisher);
    return nullptr;
  }
  report.Bad(kPublisherFact, "it is of another publisher, not of " + publisher, id);
  return kForeign;
}

const char* ReportIdentityVersion(Report& report, const std::string& version) {
  const std::string own = ToUtf8(kVersionText) + ".0";
  if (version == own) {
    report.Good(kIdentityVersionFact, "its version is " + version, version);
    return nullptr;
  }
  report.Bad(kIdentityVersionFact, "its version is " + version + ", this program's is " + own, version);
  return kOtherVersion;
}

const char* ReportMenuLibrary(Report& report, const FirstMenuState& state, const std::wstring& location) {
  const std::wstring file = (location.empty() ? state.folder : location) + L"\\" + kLibraryName;
  const std::string path = ToUtf8(file);
  const Architecture architecture = ArchitectureOfFile(file);
  const std::string version = FileVersionText(file);
  std::string problem;
  if (!FileExists(file.c_str())) {
    problem = "does not exist";
  } else if (architecture != state.machine.windows) {
    problem = std::string("is for ") + ArchitectureName(architecture) +
              " programs, and Explorer is one of the " + ArchitectureName(state.machine.windows) +
              " programs";
  } else if (version != ToUtf8(kVersionText)) {
    problem = "has version " + version + ", this program has " + ToUtf8(kVersionText);
  }
  if (problem.empty()) {
    report.Good(kMenuLibraryFact, "its library is " + path, path);
    return nullptr;
  }
  report.Bad(kMenuLibraryFact, "its library " + path + " " + problem, path);
  return kBadLibrary;
}

const char* ReportPackage(Report& report, const FirstMenuState& state, const KnownPackage& package) {
  const PackageFullName parts = SplitFullName(package.fullName);
  const char* const obstacles[] = {
      ReportUsers(report, package),
      ReportPublisher(report, state, parts.publisherId),
      ReportIdentityVersion(report, parts.version),
      ReportMenuLibrary(report, state, package.location),
  };
  for (const char* obstacle : obstacles)
    if (obstacle != nullptr) return obstacle;
  return nullptr;
}

// One package that is well is enough; otherwise the first one's trouble counts.
const char* ReportPackages(Report& report, const FirstMenuState& state) {
  const char* first = state.isLeftOut ? kLeftOut : kNoIdentity;
  bool isFirst = true;
  bool isWell = false;
  for (const KnownPackage& package : state.packages) {
    const char* const obstacle = ReportPackage(report, state, package);
    if (isFirst) first = obstacle;
    isFirst = false;
    isWell = isWell || obstacle == nullptr;
  }
  return isWell ? nullptr : first;
}

// Where none is meant to be registered, that is nobody's trouble.
bool IsMeantToBeMissing(const FirstMenuState& state) {
  return state.packages.empty() && (state.isLeftOut || !state.hasFile);
}

void ReportNoIdentity(Report& report, const FirstMenuState& state) {
  if (state.isLeftOut) {
    report.Note(kIdentityFact, "no identity is registered: the installation left it out (FIRSTLEVELMENU=0)");
  } else if (state.hasFile) {
    report.Bad(kIdentityFact,
               "no identity is registered, though " + ToUtf8(kIdentityFileName) + " is installed");
    report.Note("repair",
                "to register it: repair the installation (msiexec /i PACKAGE.msi REINSTALL=ALL /l*v LOG)");
    report.Note("repair", "if that does not help, LOG holds the reason why Windows refuses the identity");
  } else {
    report.Note(kIdentityFact,
                "no identity is registered, and no " + ToUtf8(kIdentityFileName) + " is installed");
  }
}

}  // namespace

FirstMenuState ReadFirstMenuState(const Machine& machine) {
  FirstMenuState state;
  state.machine = machine;
  state.folder = InstallationFolder();
  state.hasFile = HasIdentityFile(state.folder);
  state.file = ReadPackageIdentity(state.folder + L"\\" + kIdentityFileName);
  state.packages = FindPackages(kIdentityName, state.file ? PublisherIdOf(state.file->publisher) : L"");
  state.blockedAt = BlockingKey();
  state.isLeftOut = ReadMachineText(kRecordKey, kRecordValue, KEY_WOW64_64KEY) == L"0";
  return state;
}

bool HasFirstMenu(const Machine& machine) {
  return machine.build >= kWindows11;
}

const char* DiagnoseFirstMenu(Report& report, const FirstMenuState& state) {
  report.Section("First menu of Windows 11");
  if (!HasFirstMenu(state.machine)) {
    report.Note(kFirstMenuFact, "this Windows (build " + std::to_string(state.machine.build) +
                                    ") shows the classic menu only");
    return kOneMenu;
  }
  if (state.packages.empty()) ReportNoIdentity(report, state);
  const char* obstacle = ReportPackages(report, state);
  if (!state.blockedAt.empty()) {
    report.Bad("blocked", "its class is blocked by a value of " + ToUtf8(state.blockedAt),
               ToUtf8(state.blockedAt));
    if (obstacle == nullptr) obstacle = kBlocked;
  }
  if (obstacle == nullptr) {
    report.Good(kFirstMenuFact, "Explorer's own menu has the commands");
  } else {
    report.Add(IsMeantToBeMissing(state) ? Finding::kNote : Finding::kBad, kFirstMenuFact,
               std::string("the commands are behind \"Show more options\" only: ") + obstacle);
  }
  return obstacle;
}

}  // namespace veskard
