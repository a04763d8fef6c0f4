// shellprobe menu: the menu that a selection gets.
#include <algorithm>

#include "tools/common/Console.h"
#include "tools/common/FullPath.h"
#include "tools/common/JsonWriter.h"
#include "tools/common/ToolError.h"
#include "tools/common/Utf8.h"
#include "tools/shellprobe/Commands.h"
#include "tools/shellprobe/FirstLevelCommand.h"
#include "tools/shellprobe/MenuPicture.h"
#include "tools/shellprobe/ProbeExit.h"
#include "tools/shellprobe/ShellMenu.h"

namespace veskard {
namespace {

constexpr OptionSpec kOptions[] = {
    {"--png", "FILE", "save a picture: of the menu on the screen, or with --first-level drawn"},
    {"--show", "SECONDS", "show the menu on the screen for this time"},
    {"--among-others", nullptr, "put ordinary commands around the extension's, as a file manager does"},
    {"--verbs-only", nullptr, "ask as Explorer asks for the target of a shortcut"},
    {"--first-level", nullptr, "Windows 11's own menu, by VeskardExplorerCommand.dll beside this program"},
    {"--choose", "COMMAND", "with --first-level: choose a command, by its text or its position"},
    {"--wait", "SECONDS", "with --choose: wait at most so long until the command is sent (40)"},
    {"--dark", nullptr, "with --first-level: draw the menu for a dark desktop"},
    {"--json", nullptr, "print one JSON object"},
    kLibraryOption,
};

std::string BitmapText(const ShellMenuItem& item) {
  if (!item.hasBitmap) return "none";
  return std::to_string(item.bitmapSize.cx) + "x" + std::to_string(item.bitmapSize.cy);
}

std::string Column(std::string text, size_t width) {
  text.resize(std::max(text.size(), width), ' ');
  return text + "  ";
}

std::string Row(const std::string& position, const std::string& offset, const std::string& id,
                const std::string& state, const std::string& bitmap, const std::string& text) {
  return Column(position, 8) + Column(offset, 7) + Column(id, 4) + Column(state, 7) + Column(bitmap, 6) +
         text + "\n";
}

std::string AsText(const ShellMenu& menu) {
  const std::wstring library = LibraryOfObject(menu.Handler());
  std::string text =
      std::string(ArchitectureName(ArchitectureOfFile(library))) + " library " + ToUtf8(library) + "\n";
  if (menu.Items().empty()) return text + "the menu gets no commands\n";
  text += Row("Position", "Command", "Id", "State", "Icon", "Text");
  for (const ShellMenuItem& item : menu.Items()) {
    text += Row(std::to_string(item.position), std::to_string(item.offset), std::to_string(item.id),
                item.greyed ? "greyed" : "enabled", BitmapText(item), ToUtf8(item.text));
    if (item.help != item.text) text += "          help: " + ToUtf8(item.help) + "\n";
  }
  return text;
}

ToolError WrongUsage(const std::string& message) {
  return ToolError(ExitCode::kWrongUsage, message + " (see shellprobe menu --help)");
}

std::string AsJson(const ShellMenu& menu) {
  const std::wstring library = LibraryOfObject(menu.Handler());
  JsonWriter json;
  json.BeginObject().Field("library", library);
  json.Field("architecture", ArchitectureName(ArchitectureOfFile(library)))
      .Field("answer", HexCode(menu.Answer()))
      .Field("refused", menu.Refused());
  json.Key("items").BeginArray();
  for (const ShellMenuItem& item : menu.Items()) {
    json.BeginObject().Field("position", item.position).Field("command", item.offset).Field("id", item.id);
    json.Field("text", item.text).Field("help", item.help).Field("greyed", item.greyed);
    json.Field("bitmap", item.hasBitmap);
    json.Field("bitmapWidth", item.bitmapSize.cx).Field("bitmapHeight", item.bitmapSize.cy).EndObject();
  }
  return json.EndArray().EndObject().Text() + "\n";
}

void CheckOptions(const Arguments& arguments) {
  const bool isFirstLevel = arguments.Has("--first-level");
  for (const char* option : {"--choose", "--wait", "--dark"}) {
    if (!isFirstLevel && arguments.Has(option))
      throw WrongUsage(std::string(option) + " needs --first-level");
  }
  for (const char* option : {"--show", "--verbs-only"}) {
    if (isFirstLevel && arguments.Has(option))
      throw WrongUsage(std::string("--first-level cannot be combined with ") + option);
  }
}

}  // namespace

const CommandSpec kMenuSpec = {
    .program = "shellprobe",
    .name = "menu",
    .arguments = "PATH...",
    .summary = "Right-clicks the paths and prints the commands that the extension adds.",
    .minimumArguments = 1,
    .maximumArguments = kAnyNumber,
    .options = kOptions,
    .notes =
        "The first line names the library that answered. This program loads one of its own kind:\n"
        "64-bit, 32-bit or ARM64. \"Command\" is the number for shellprobe invoke. The help text is\n"
        "printed when it differs from the text.\n"
        "\n"
        "--first-level asks as Explorer of Windows 11 does: with the Shell's own items, first for a\n"
        "quick state, again (\"twice\") when the library needs more time, then for titles and pictures.\n"
        "All children are listed, also hidden ones.\n"
        "\n"
        "Exit codes: 0 the extension answered (also when it adds nothing); 1 the system refused, or\n"
        "there is no screen; 2 wrong command line; 3 the command is not sent after --wait; 10 not\n"
        "registered, or the library lacks the class; 11 the extension refuses this menu, for example\n"
        "because the agent does not run; 12 --choose names no command, or a greyed or hidden one.\n",
};

int RunMenu(const Arguments& arguments) {
  CheckOptions(arguments);
  const ComApartment apartment;
  if (arguments.Has("--first-level")) return RunFirstLevelMenu(arguments);
  const ExtensionClasses classes = ClassesFor(arguments);
  const ShellMenuOptions options = {
      .flags = static_cast<DWORD>(arguments.Has("--verbs-only") ? CMF_VERBSONLY : CMF_NORMAL),
      .amongOthers = arguments.Has("--among-others"),
  };
  const ShellMenu menu(classes, SelectedPaths(arguments), options);
  if (arguments.Has("--json")) Print(AsJson(menu));
  if (menu.Refused()) {
    throw ToolError(kMenuRefused,
                    "the extension refuses to add to this menu (" + HexCode(menu.Answer()) + ")");
  }
  if (!arguments.Has("--json")) Print(AsText(menu));
  if (arguments.Has("--png") || arguments.Has("--show")) {
    const Picture picture = PhotographMenu(menu.Menu(), arguments.Number("--show", 0) * 1000);
    if (arguments.Has("--png")) SavePng(picture, FullPath(arguments.Text("--png")));
  }
  return static_cast<int>(ExitCode::kDone);
}

}  // namespace veskard
