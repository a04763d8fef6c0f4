#include "tools/shellprobe/FirstLevelCommand.h"

#include <algorithm>
#include <chrono>

#include "core/ModuleHandle.h"
#include "tools/common/Console.h"
#include "tools/common/FullPath.h"
#include "tools/common/JsonWriter.h"
#include "tools/common/ToolError.h"
#include "tools/common/Utf8.h"
#include "tools/shellprobe/Commands.h"
#include "tools/shellprobe/FirstLevelMenu.h"
#include "tools/shellprobe/FirstLevelPicture.h"
#include "tools/shellprobe/ProbeExit.h"
#include "tools/shellprobe/ThreadWatch.h"

namespace veskard {
namespace {

// The package gives it an identity on Windows 11; its class is in no registry.
std::wstring LibraryFile(const Arguments& arguments) {
  if (arguments.Has(kLibraryOption.name)) return FullPath(arguments.Text(kLibraryOption.name));
  const std::wstring program = ReadModulePath(nullptr);
  return program.substr(0, program.find_last_of(L'\\')) + L"\\VeskardExplorerCommand.dll";
}

std::string Row(std::string place, std::string state, std::string asked, std::string icon,
                const std::string& text) {
  place.resize(std::max<size_t>(place.size(), 8), ' ');
  state.resize(std::max<size_t>(state.size(), 7), ' ');
  asked.resize(std::max<size_t>(asked.size(), 5), ' ');
  icon.resize(std::max<size_t>(icon.size(), 6), ' ');
  return place + "  " + state + "  " + asked + "  " + icon + "  " + text + "\n";
}

std::string IconText(const FirstLevelItem& item) {
  try {
    const Picture icon = LoadCommandIcon(item.icon);
    return std::to_string(icon.width) + "x" + std::to_string(icon.height);
  } catch (const ToolError&) {
    return "none";
  }
}

std::string RowFor(const std::string& place, const FirstLevelItem& item) {
  return Row(place, FirstLevelStateName(item), item.askedTwice ? "twice" : "once", IconText(item),
             ToUtf8(item.title));
}

std::string LibraryLine(const FirstLevelMenu& menu) {
  const std::wstring library = LibraryOfObject(menu.Handler());
  return std::string(ArchitectureName(ArchitectureOfFile(library))) + " library " + ToUtf8(library) + "\n";
}

std::string AsText(const FirstLevelMenu& menu) {
  std::string text = LibraryLine(menu) + Row("Position", "State", "Asked", "Icon", "Text");
  text += RowFor("fly-out", menu.FlyOut());
  for (size_t i = 0; i < menu.Children().size(); ++i)
    text += RowFor("  " + std::to_string(i), menu.Children()[i]);
  if (menu.FlyOut().IsHidden()) text += "the first menu shows no commands\n";
  return text;
}

void Append(JsonWriter& json, const FirstLevelItem& item) {
  json.Field("text", item.title).Field("state", FirstLevelStateName(item));
  json.Field("answer", HexCode(item.answer)).Field("askedTwice", item.askedTwice);
  json.Field("icon", item.icon).Field("canonicalName", item.canonicalName);
}

std::string AsJson(const FirstLevelMenu& menu) {
  const std::wstring library = LibraryOfObject(menu.Handler());
  JsonWriter json;
  json.BeginObject().Field("library", library);
  json.Field("architecture", ArchitectureName(ArchitectureOfFile(library)));
  json.Key("flyOut").BeginObject();
  Append(json, menu.FlyOut());
  json.EndObject().Key("items").BeginArray();
  for (size_t i = 0; i < menu.Children().size(); ++i) {
    json.BeginObject().Field("position", i);
    Append(json, menu.Children()[i]);
    json.EndObject();
  }
  return json.EndArray().EndObject().Text() + "\n";
}

size_t ChosenChild(const FirstLevelMenu& menu, const std::wstring& command) {
  const size_t child = menu.Find(command);
  if (child == menu.Children().size())
    throw ToolError(kNoSuchCommand, "the first menu has no command \"" + ToUtf8(command) + "\"");
  const FirstLevelItem& item = menu.Children()[child];
  if (item.IsHidden() || item.IsGreyed()) {
    throw ToolError(kNoSuchCommand, "\"" + ToUtf8(item.title) + "\" is " + FirstLevelStateName(item));
  }
  return child;
}

void Choose(const FirstLevelMenu& menu, const std::wstring& command, std::chrono::seconds patience) {
  const size_t child = ChosenChild(menu, command);
  const ThreadWatch senders;
  const HRESULT result = menu.Invoke(child);
  if (FAILED(result))
    throw ToolError(ExitCode::kFailed, "the library refuses the command (" + HexCode(result) + ")");
  if (!senders.WaitForNewThreads(patience))
    throw ToolError(ExitCode::kTimeLimit, "the command is not sent yet");
}

}  // namespace

int RunFirstLevelMenu(const Arguments& arguments) {
  const ExtensionClasses classes(LibraryFile(arguments));
  const FirstLevelMenu menu(classes, SelectedPaths(arguments));
  Print(arguments.Has("--json") ? AsJson(menu) : AsText(menu));
  if (arguments.Has("--png")) {
    const FirstLevelPictureOptions options = {.isDark = arguments.Has("--dark"),
                                              .amongOthers = arguments.Has("--among-others")};
    SavePng(DrawFirstLevelMenu(menu, options), FullPath(arguments.Text("--png")));
  }
  if (arguments.Has("--choose"))
    Choose(menu, arguments.Text("--choose"), std::chrono::seconds(arguments.Number("--wait", 40)));
  return static_cast<int>(ExitCode::kDone);
}

}  // namespace veskard
