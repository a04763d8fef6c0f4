#include "tools/shellprobe/Explanation.h"

#include <windows.h>
// After windows.h, which it needs.
#include <shlwapi.h>

#include <algorithm>

#include "fs/util/SyncHandle.h"
#include "shellext/Registration.h"
#include "shellext/contextmenu/AgentChannel.h"
#include "shellext/contextmenu/SyncFolderInspection.h"
#include "tools/common/Utf8.h"
#include "tools/shellprobe/ExtensionClasses.h"
#include "tools/shellprobe/MarkContent.h"
#include "tools/shellprobe/RegisteredLibrary.h"
#include "tools/shellprobe/SelectionData.h"

namespace veskard {
namespace {

constexpr wchar_t kPlaceholderExtension[] = L".ghpl";
// The one that the library's handlers look for.
constexpr AgentScope kScope = AgentScope::kService;

std::string YesNo(bool value) {
  return value ? "yes" : "no";
}

void ReportRegistration(Report& report, const std::wstring& firstPath) {
  report.Section("Registration");
  const std::wstring fileClass = FileClassOf(firstPath);
  const std::wstring key = MenuHandlerKey(fileClass);
  const std::optional<std::wstring> classId = ReadMachineText(key);
  if (!classId)
    return report.Bad("handler", "no menu handler is registered: no HKEY_LOCAL_MACHINE\\" + ToUtf8(key));
  report.Good("handler", "the menu handler for \"" + ToUtf8(fileClass) + "\" is " + ToUtf8(*classId));
  const std::wstring library = RegisteredLibraryPath();
  if (library.empty()) return report.Bad("library", "the handler's class names no library");
  ReportLibraryFile(report, library);
}

void ReportMark(Report& report, SyncHandle* mark, const std::string& missing) {
  if (mark == nullptr) return report.Note("mark", missing);
  const MarkContent content = ReadMarkContent(*mark);
  report.Note("mark", "read from " + ToUtf8(content.place) + ", " + std::to_string(content.size) + " bytes");
  if (content.bencoded) {
    report.Note("content", content.dump);
  } else {
    report.Bad("content",
               "it is damaged at byte " + std::to_string(content.goodBytes) + "; its values count as unset");
  }
}

void ReportOwner(Report& report, const std::wstring& owner) {
  const std::wstring user = CurrentUserName();
  if (owner.empty()) {
    report.Good("owner", "it belongs to everyone");
  } else if (owner == user) {
    report.Good("owner", "it belongs to " + ToUtf8(owner) + ", who is the current user");
  } else {
    report.Bad("owner", "it belongs to " + ToUtf8(owner) + "; the current user is " + ToUtf8(user));
  }
}

void ReportRecord(Report& report, const std::wstring& folder) {
  ReportMark(report, OpenFolderMark(folder).get(), "there is no record of it; everything counts as unset");
  SyncFolderInfo info;
  ReadSyncFolderInfo(folder, info);
  report.Add(info.selective ? Finding::kGood : Finding::kBad, "selective",
             "selective sync: " + YesNo(info.selective));
  report.Note("type", "its type is " + std::to_string(info.type) +
                          (info.type == 2 ? ": content may be removed from all devices" : ""));
  report.Note("removal",
              "removing from all devices is forbidden: " + YesNo(info.disableRemoveFromAllDevices));
  ReportOwner(report, info.owner);
}

bool IsAgentsOwnFile(const std::wstring& path) {
  const size_t end = (path + L"\\").find(L"\\.sync\\");
  return end != std::wstring::npos && IsSyncFolderRoot(path.substr(0, end));
}

// The folder of the first item decides for all of them.
void ReportFolder(Report& report, const std::wstring& path) {
  report.Section("Synchronised folder of the first item");
  const std::wstring root = FindSyncFolderRoot(path);
  if (root.empty()) {
    return report.Bad("root", IsAgentsOwnFile(path) ? "the item is one of the agent's own files"
                                                    : "no folder above the item holds the mark .sync\\ID");
  }
  report.Good("root", "the root is " + ToUtf8(root));
  const bool nested = root != path && IsSyncFolderRoot(path);
  if (nested)
    report.Note("nested", "the item is the root of a nested folder and is judged by its own record");
  ReportRecord(report, nested ? path : root);
}

void ReportPlaceholder(Report& report, const std::wstring& path) {
  const PlaceholderState state = ReadPlaceholderState(path);
  const std::string progress =
      state.progress < 0 ? "not being received" : "being received, " + std::to_string(state.progress) + " %";
  report.Note("item",
              ToUtf8(path) + ": a placeholder" + (state.typeFlag ? " of a folder, " : ", ") + progress);
  ReportMark(report, OpenPlaceholderMark(path).get(), "it has no mark; nothing is being received");
}

void ReportItem(Report& report, const std::wstring& path) {
  const DWORD attributes = ::GetFileAttributesW(path.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES)
    return report.Bad("item", ToUtf8(path) + ": not there; it is skipped");
  const bool isFolder = (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
  const bool isPlaceholder = ::_wcsicmp(::PathFindExtensionW(path.c_str()), kPlaceholderExtension) == 0;
  if (isPlaceholder) return ReportPlaceholder(report, path);
  report.Note("item", ToUtf8(path) + (isFolder ? ": a folder" : ": a file that is on this device"));
}

bool ReportAgent(Report& report) {
  report.Section("Agent");
  const std::wstring pipe = GetAgentPipeName(kScope);
  if (pipe.empty()) {
    report.Bad("agent", "no service agent announces itself: there is no mutex Global\\pipesynccmd_SIT");
    return false;
  }
  report.Good("agent", "a service agent announces itself");
  // Asks whether an instance is free without connecting to it.
  if (::WaitNamedPipeW(pipe.c_str(), 1)) {
    report.Good("pipe", "its pipe " + ToUtf8(pipe) + " takes commands");
  } else {
    report.Bad("pipe", "its pipe " + ToUtf8(pipe) + " takes no commands now; a chosen command would be lost");
  }
  return true;
}

MenuSelection Inspect(const std::vector<std::wstring>& paths) {
  FORMATETC format = {CF_HDROP, nullptr, DVASPECT_CONTENT, -1, TYMED_HGLOBAL};
  STGMEDIUM medium = {};
  const UniqueCom<IDataObject> data = MakeSelectionData(paths);
  if (data.Get()->GetData(&format, &medium) != S_OK) return {};
  const auto drop = static_cast<HDROP>(medium.hGlobal);
  DropNames names(drop, MAX_PATH);
  const MenuSelection selection = InspectSelection(names, CountDropNames(drop));
  ::ReleaseStgMedium(&medium);
  return selection;
}

}  // namespace

bool Explanation::HasMenu() const {
  return agentFound && std::any_of(commands.begin(), commands.end(), [](const CommandVerdict& verdict) {
           return verdict.state != CommandState::kHidden;
         });
}

Explanation ExplainSelection(const std::vector<std::wstring>& paths) {
  Explanation explanation;
  Report& report = explanation.report;
  ReportRegistration(report, paths.front());
  ReportFolder(report, paths.front());
  report.Section(paths.size() == 1 ? "Item" : "Items");
  for (const std::wstring& path : paths) ReportItem(report, path);
  explanation.agentFound = ReportAgent(report);
  explanation.commands = ExplainCommands(Inspect(paths));
  return explanation;
}

}  // namespace veskard
