// shellprobe explain: why the menu is as it is.
#include "lang/Language.h"
#include "shellext/contextmenu/MenuCommands.h"
#include "tools/common/Console.h"
#include "tools/common/ToolError.h"
#include "tools/common/Utf8.h"
#include "tools/shellprobe/ComApartment.h"
#include "tools/shellprobe/Commands.h"
#include "tools/shellprobe/Explanation.h"
#include "tools/shellprobe/ProbeExit.h"

namespace veskard {
namespace {

constexpr OptionSpec kOptions[] = {
    {"--json", nullptr, "print one JSON object"},
};

std::string TitleOf(CommandOffset command) {
  return ToUtf8(GetString(MenuCommandAt(command).stringId));
}

std::string CommandLines(const std::string& title, const std::vector<CommandVerdict>& commands) {
  std::string text = "\n" + title + "\n";
  for (const CommandVerdict& verdict : commands) {
    std::string name = TitleOf(verdict.command);
    name.resize(std::max<size_t>(name.size(), 24), ' ');
    text += "        " + name + "  " + StateName(verdict.state) + ": " + verdict.reason + "\n";
  }
  return text;
}

std::string AsText(const Explanation& explanation) {
  std::string text = explanation.report.AsText() + CommandLines("Commands", explanation.commands);
  if (!explanation.firstMenu.empty())
    text += CommandLines("Commands in the first menu", explanation.firstMenu);
  return text;
}

void AppendCommands(JsonWriter& json, const char* name, const std::vector<CommandVerdict>& commands) {
  json.Key(name).BeginArray();
  for (const CommandVerdict& verdict : commands) {
    json.BeginObject().Field("command", static_cast<uint32_t>(verdict.command));
    json.Field("text", TitleOf(verdict.command)).Field("state", StateName(verdict.state));
    json.Field("reason", verdict.reason).EndObject();
  }
  json.EndArray();
}

std::string AsJson(const Explanation& explanation, const std::vector<std::wstring>& paths) {
  JsonWriter json;
  json.BeginObject().Key("paths").BeginArray();
  for (const std::wstring& path : paths) json.String(std::wstring_view(path));
  json.EndArray();
  explanation.report.AppendTo(json);
  json.Field("menu", explanation.HasMenu());
  AppendCommands(json, "commands", explanation.commands);
  AppendCommands(json, "firstMenu", explanation.firstMenu);
  return json.EndObject().Text() + "\n";
}

}  // namespace

const CommandSpec kExplainSpec = {
    .program = "shellprobe",
    .name = "explain",
    .arguments = "PATH...",
    .summary = "Gives the reason for each command of the paths: shown, greyed or hidden.",
    .minimumArguments = 1,
    .maximumArguments = kAnyNumber,
    .options = kOptions,
    .notes =
        "The paths are one selection, as if they were right-clicked together. The first decides the\n"
        "folder. Begin with the reasons under Commands, then look for the lines with BAD; not every\n"
        "such line hides a command.\n"
        "\n"
        "On Windows 11 Explorer has a menu of its own before the classic one. Its commands are\n"
        "explained too.\n"
        "\n"
        "This changes nothing, writes no line of the diagnostic log, and reads no translator's check\n"
        "file.\n"
        "\n"
        "Exit codes: 0 a menu has commands; 1 a PATH is not one, or COM cannot start; 2 wrong command\n"
        "line; 14 no menu has commands.\n",
};

int RunExplain(const Arguments& arguments) {
  const std::vector<std::wstring> paths = SelectedPaths(arguments);
  const ComApartment apartment;
  const Explanation explanation = ExplainSelection(paths);
  Print(arguments.Has("--json") ? AsJson(explanation, paths) : AsText(explanation));
  return explanation.HasMenu() ? static_cast<int>(ExitCode::kDone) : kNoCommands;
}

}  // namespace veskard
