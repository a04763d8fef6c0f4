#include "tools/shellprobe/Explanation.h"

#include <windows.h>
#include <algorithm>
#include <new>
#include <optional>

#include "core/WindowsOwners.h"
#include "fs/util/PathVector.h"
#include "fs/util/SyncHandle.h"
#include "shellext/contextmenu/AgentPresence.h"
#include "shellext/contextmenu/DropMedium.h"
#include "shellext/contextmenu/DropNames.h"
#include "shellext/contextmenu/marks/SyncFolderInspection.h"
#include "tools/common/ToolError.h"
#include "tools/common/Utf8.h"
#include "tools/shellprobe/ExtensionClasses.h"
#include "tools/shellprobe/FirstMenuDiagnosis.h"
#include "tools/shellprobe/MarkContent.h"
#include "tools/shellprobe/QuietActivation.h"
#include "tools/shellprobe/RegisteredLibrary.h"
#include "tools/shellprobe/SelectionData.h"

namespace veskard {
namespace {

// The one that the library's handlers look for.
constexpr AgentScope kScope = AgentScope::kService;

// Why the whole menu is refused; null when it is not.
using Obstacle = const char*;
constexpr Obstacle kNotRegisteredHere = "no menu handler is registered for the first item";
constexpr Obstacle kLibraryUseless = "the registered library cannot be used";
constexpr Obstacle kNoAgent = "the agent does not run";
constexpr Obstacle kForbiddenAgent = "this user may not open the agent's mutex";

std::string YesNo(bool value) {
  return value ? "yes" : "no";
}

std::string OnMachine(const std::wstring& key) {
  return "HKEY_LOCAL_MACHINE\\" + ToUtf8(key);
}

bool ReportActivation(Report& report, const std::string& fact, const std::string& whose,
                      const std::wstring& classId) {
  const std::optional<HRESULT> result = ActivateQuietly(classId);
  if (!result) {
    report.Bad(fact,
               whose + " class was not activated, because its library is missing or is not the expected one");
  } else if (FAILED(*result)) {
    report.Bad(fact, whose + " class cannot be activated", HexCode(*result));
  } else {
    report.Good(fact, whose + " class can be activated", ToUtf8(classId));
  }
  return result && SUCCEEDED(*result);
}

Obstacle ReportMenuHandler(Report& report, const std::wstring& firstPath) {
  const std::wstring fileClass = FileClassOf(firstPath);
  const std::wstring key = MenuHandlerKey(fileClass);
  const std::optional<std::wstring> classId = ReadMachineText(key);
  if (!classId) {
    report.Bad("handler", "no menu handler is registered: no " + OnMachine(key));
    return kNotRegisteredHere;
  }
  report.Good("handler", "the menu handler for \"" + ToUtf8(fileClass) + "\" is " + ToUtf8(*classId),
              ToUtf8(*classId));
  const std::wstring library = LibraryOfClass(*classId);
  if (library.empty()) {
    report.Bad("library", "the handler's class names no library");
    return kLibraryUseless;
  }
  const bool useful = ReportLibraryFile(report, library, OwnArchitecture()) == nullptr &&
                      ReportActivation(report, "menuClass", "the menu handler's", *classId);
  return useful ? nullptr : kLibraryUseless;
}

// Without it placeholders keep a plain icon; the menu does not depend on it.
void ReportIconHandler(Report& report) {
  const std::wstring key = IconHandlerKey();
  const std::optional<std::wstring> classId = ReadMachineText(key);
  if (!classId) return report.Bad("iconHandler", "no icon handler is registered: no " + OnMachine(key));
  report.Good("iconHandler", "the icon handler of placeholders is " + ToUtf8(*classId), ToUtf8(*classId));
  ReportActivation(report, "iconClass", "the icon handler's", *classId);
}

Obstacle ReportRegistration(Report& report, const std::wstring& firstPath) {
  report.Section(std::string("Registration for ") + ArchitectureName(OwnArchitecture()) + " programs");
  const Obstacle obstacle = ReportMenuHandler(report, firstPath);
  ReportIconHandler(report);
  return obstacle;
}

void ReportMarkContent(Report& report, const MarkContent& content) {
  constexpr char kUnset[] = "; its values count as unset";
  switch (content.kind) {
    case MarkKind::kDictionary:
      return report.Note("content", content.dump);
    case MarkKind::kOtherValue:
      return report.Bad("content", "it is not a dictionary: " + content.dump + kUnset);
    case MarkKind::kDamaged:
      return report.Bad("content", "it is damaged at byte " + std::to_string(content.goodBytes) + kUnset,
                        std::to_string(content.goodBytes));
    case MarkKind::kTooLarge:
      return report.Bad("content", std::string("it is larger than any mark and is not read") + kUnset);
    case MarkKind::kProgress:
      return report.Note("content", "the bytes " + content.dump);
    case MarkKind::kTooShort:
      return report.Bad("content", "it has fewer than 8 bytes and counts as not being received");
  }
}

void ReportMark(Report& report, SyncHandle* mark, const std::string& missing) {
  if (mark == nullptr) return report.Note("mark", missing);
  const MarkContent content = ReadMarkContent(*mark);
  const std::string place = ToUtf8(content.place);
  report.Note("mark", "read from " + place + ", " + std::to_string(content.size) + " bytes", place);
  ReportMarkContent(report, content);
}

void ReportOwner(Report& report, const std::wstring& owner) {
  const std::wstring user = CurrentUserName();
  const std::string name = ToUtf8(owner);
  if (owner.empty()) {
    report.Good("owner", "it belongs to everyone");
  } else if (owner == user) {
    report.Good("owner", "it belongs to " + name + ", who is the current user", name);
  } else {
    report.Bad("owner", "it belongs to " + name + "; the current user is " + ToUtf8(user), name);
  }
}

void ReportRecord(Report& report, const std::wstring& folder) {
  ReportMark(report, OpenFolderMark(folder).get(), "it has no record; every value counts as unset");
  SyncFolderInfo info;
  ReadSyncFolderInfo(folder, info);
  report.Add(info.selective ? Finding::kGood : Finding::kBad, "selective",
             "selective sync: " + YesNo(info.selective), YesNo(info.selective));
  report.Note("type",
              "its type is " + std::to_string(info.type) +
                  (info.type == 2 ? ": content may be removed from all devices" : ""),
              std::to_string(info.type));
  report.Note("removal",
              info.disableRemoveFromAllDevices ? "the record forbids removing from all devices"
                                               : "the record does not forbid removing from all devices",
              info.disableRemoveFromAllDevices ? "forbidden" : "allowed");
  ReportOwner(report, info.owner);
}

/// The folders that a path lies in, the innermost first.
std::vector<std::wstring> FoldersAbove(const std::wstring& path) {
  const PathVector components(path);
  std::vector<std::wstring> folders;
  for (size_t count = components.Count(); count > 1; --count) {
    folders.push_back(components.ToString(components.Separator(), count - 1));
  }
  return folders;
}

// A path without a root may lie in a root's own folder, which is no content.
void ReportNoRoot(Report& report, const std::wstring& path) {
  for (const std::wstring& folder : FoldersAbove(path)) {
    const std::wstring root = FindSyncFolderRoot(folder);
    if (root.empty()) continue;
    return report.Bad("root", "the item is one of the agent's own files: it lies in .sync of " + ToUtf8(root),
                      ToUtf8(root));
  }
  report.Bad("root", "neither the item nor a folder above it holds the mark .sync\\ID");
}

// Nested roots do not count, except for the inner root itself.
void ReportNesting(Report& report, const std::wstring& path, const std::wstring& root) {
  if (PathVector(root).Equals(PathVector(path))) return report.Note("nested", "the item is the root itself");
  if (IsSyncFolderRoot(path)) {
    return report.Note("nested", "the item is the root of a nested folder and is judged by its own record",
                       ToUtf8(path));
  }
  for (const std::wstring& folder : FoldersAbove(path)) {
    if (folder == root) break;
    if (!IsSyncFolderRoot(folder)) continue;
    return report.Note("nested",
                       "it lies in the nested folder " + ToUtf8(folder) +
                           " too, whose record does not count: the outermost root decides",
                       ToUtf8(folder));
  }
  report.Note("nested", "no nested folder is involved");
}

// The folder of the first item decides for all of them.
void ReportFolder(Report& report, const std::wstring& path) {
  report.Section("Synchronised folder of the first item");
  if (::GetFileAttributesW(path.c_str()) == INVALID_FILE_ATTRIBUTES) {
    return report.Bad("root", "the first item does not exist, so its folder is not searched");
  }
  const std::wstring root = FindSyncFolderRoot(path);
  if (root.empty()) return ReportNoRoot(report, path);
  report.Good("root", "the root is " + ToUtf8(root), ToUtf8(root));
  ReportNesting(report, path, root);
  ReportRecord(report, IsSyncFolderRoot(path) ? path : root);
}

// A folder may have a placeholder's name: it is read as one, and is a folder too.
void ReportPlaceholder(Report& report, const std::wstring& path, bool isFolder) {
  const PlaceholderState state = ReadPlaceholderState(path);
  const std::string progress =
      state.progress < 0 ? "not being received" : "being received, " + std::to_string(state.progress) + " %";
  report.Note("item",
              ToUtf8(path) + (isFolder ? ": a folder with the name of a placeholder" : ": a placeholder") +
                  (state.typeFlag ? " of a folder, " : ", ") + progress,
              ToUtf8(path));
  ReportMark(report, OpenPlaceholderMark(path).get(), "it has no mark; nothing is being received");
}

void ReportItem(Report& report, const std::wstring& path) {
  const DWORD attributes = ::GetFileAttributesW(path.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES) {
    return report.Bad("item", ToUtf8(path) + ": does not exist; it is skipped", ToUtf8(path));
  }
  const bool isFolder = (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
  if (IsPlaceholderName(path)) return ReportPlaceholder(report, path, isFolder);
  report.Note("item", ToUtf8(path) + (isFolder ? ": a folder" : ": a file that is on this device"),
              ToUtf8(path));
}

void ReportItems(Report& report, const std::vector<std::wstring>& paths) {
  report.Section(paths.size() == 1 ? "Item" : "Items");
  for (const std::wstring& path : paths) ReportItem(report, path);
}

// Asks whether an instance is free, without connecting to it. That does not tell
// whether this user may connect.
void ReportPipe(Report& report, const std::wstring& pipe) {
  const std::string name = ToUtf8(pipe);
  if (::WaitNamedPipeW(pipe.c_str(), 1))
    return report.Good("pipe", "its pipe " + name + " has a free instance", name);
  const bool missing = ::GetLastError() == ERROR_FILE_NOT_FOUND;
  report.Bad(
      "pipe",
      "its pipe " + name + (missing ? " does not exist" : " is busy") + "; a chosen command would be lost",
      name);
}

// There, but the library, in this user's programs, sees no agent all the same.
bool IsMutexForbidden(const wchar_t* name) {
  const UniqueHandle mutex(::OpenMutexW(SYNCHRONIZE, FALSE, name));
  return !mutex && ::GetLastError() == ERROR_ACCESS_DENIED;
}

Obstacle ReportNoAgent(Report& report) {
  const std::string mutex = ToUtf8(kServiceAgent.mutex);
  const bool isForbidden = IsMutexForbidden(kServiceAgent.mutex);
  report.Bad("mutex",
             isForbidden ? "it is running, but this user may not open its mutex " + mutex
                         : "it is not running: the mutex " + mutex + " does not exist",
             mutex);
  report.Note("pipe", "its pipe would be " + ToUtf8(kServiceAgent.pipe), ToUtf8(kServiceAgent.pipe));
  return isForbidden ? kForbiddenAgent : kNoAgent;
}

Obstacle ReportAgent(Report& report) {
  report.Section("Agent");
  report.Note("scope", "commands go to the agent of the service", std::to_string(static_cast<int>(kScope)));
  const std::wstring pipe = GetAgentPipeName(kScope);
  if (pipe.empty()) return ReportNoAgent(report);
  const std::string mutex = ToUtf8(kServiceAgent.mutex);
  report.Good("mutex", "it is running: the mutex " + mutex + " exists", mutex);
  ReportPipe(report, pipe);
  return nullptr;
}

/// The names and the verdict as the library has them from the Shell.
struct Inspection {
  std::vector<std::wstring> names;
  MenuSelection selection;
};

Inspection Inspect(const std::vector<std::wstring>& paths) {
  const UniqueCom<IDataObject> data = MakeSelectionData(paths);
  DropMedium medium;
  if (medium.Fetch(data.Get()) != S_OK) throw std::bad_alloc();
  const DropNames names(medium.Drop(), kLongestNameInMenu);  // longer ones are cut, here as there
  Inspection result = {{}, InspectSelection(names)};
  for (uint32_t i = 0; i < names.Count(); ++i) result.names.push_back(names.At(i));
  return result;
}

/// The paths as the first menu has them from the Shell's items: whole.
class WholePaths final : public PathList {
 public:
  explicit WholePaths(const std::vector<std::wstring>& paths) : paths_(paths) {}
  uint32_t Count() const noexcept override { return static_cast<uint32_t>(paths_.size()); }
  std::wstring At(uint32_t index) const override { return index < Count() ? paths_[index] : std::wstring(); }

 private:
  const std::vector<std::wstring>& paths_;
};

bool IsAnyShown(const std::vector<CommandVerdict>& commands) {
  return std::any_of(commands.begin(), commands.end(),
                     [](const CommandVerdict& verdict) { return verdict.state != CommandState::kHidden; });
}

void Refuse(std::vector<CommandVerdict>& commands, Obstacle obstacle) {
  if (obstacle == nullptr) return;
  for (CommandVerdict& verdict : commands) {
    verdict.reason =
        std::string(obstacle) + "; otherwise " + StateName(verdict.state) + ": " + verdict.reason;
    verdict.state = CommandState::kHidden;
  }
}

}  // namespace

bool Explanation::HasMenu() const {
  return IsAnyShown(commands) || IsAnyShown(firstMenu);
}

Explanation ExplainSelection(const std::vector<std::wstring>& paths, const Machine& machine) {
  Explanation explanation;
  Report& report = explanation.report;
  const Inspection inspection = Inspect(paths);
  const Obstacle obstacle = ReportRegistration(report, inspection.names.front());
  ReportFolder(report, inspection.names.front());
  ReportItems(report, inspection.names);
  const Obstacle agentObstacle = ReportAgent(report);
  explanation.commands = ExplainCommands(inspection.selection);
  Refuse(explanation.commands, obstacle != nullptr ? obstacle : agentObstacle);
  const Obstacle firstMenuObstacle = DiagnoseFirstMenu(report, ReadFirstMenuState(machine));
  if (HasFirstMenu(machine)) {
    explanation.firstMenu = ExplainCommands(InspectSelection(WholePaths(paths)));
    Refuse(explanation.firstMenu, firstMenuObstacle != nullptr ? firstMenuObstacle : agentObstacle);
  }
  return explanation;
}

}  // namespace veskard
