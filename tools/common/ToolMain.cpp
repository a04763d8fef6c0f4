#include "tools/common/ToolMain.h"

#include <algorithm>
#include <exception>
#include <string>
#include <vector>

#include "tools/common/Console.h"
#include "tools/common/ProgramVersion.h"
#include "tools/common/ToolError.h"
#include "tools/common/Utf8.h"

namespace veskard {
namespace {

std::string Overview(const char* program, const char* summary, std::span<const Command> commands) {
  size_t width = 0;
  for (const Command& command : commands) width = std::max(width, std::string(command.spec.name).size());
  std::string text = std::string(summary) + "\n\nCommands:\n";
  for (const Command& command : commands) {
    std::string name = command.spec.name;
    name.resize(width, ' ');
    text += "  " + name + "  " + command.spec.summary + "\n";
  }
  return text + "\n" + program + " COMMAND --help explains one of them,\n" + program +
         " --version prints the version and the licences of third-party code.\n\n"
         "Exit codes: 0 done; 1 failed; 2 wrong command line; the others are in each command's help.\n";
}

const Command* FindCommand(std::span<const Command> commands, const std::string& name) {
  const auto found = std::find_if(commands.begin(), commands.end(),
                                  [&](const Command& command) { return name == command.spec.name; });
  return found == commands.end() ? nullptr : &*found;
}

int RunCommand(const Command& command, std::span<const std::wstring> words) {
  const Arguments arguments(command.spec, words);
  if (!arguments.WantsHelp()) return command.run(arguments);
  Print(HelpText(command.spec));
  return static_cast<int>(ExitCode::kDone);
}

int Dispatch(std::span<const std::wstring> words, const char* program, const char* summary,
             std::span<const Command> commands) {
  const std::string first = words.empty() ? "" : ToUtf8(words[0]);
  if (const Command* named = FindCommand(commands, first); named != nullptr && !first.empty()) {
    return RunCommand(*named, words.subspan(1));
  }
  if (first == "--version") {
    Print(VersionText(program));
    return static_cast<int>(ExitCode::kDone);
  }
  if (const Command* unnamed = FindCommand(commands, ""); unnamed != nullptr)
    return RunCommand(*unnamed, words);
  if (first == "--help" || first == "-h" || first == "help") {
    Print(Overview(program, summary, commands));
    return static_cast<int>(ExitCode::kDone);
  }
  const std::string problem =
      first.empty() ? "missing argument: COMMAND" : "unknown command \"" + first + "\"";
  throw ToolError(ExitCode::kWrongUsage, problem + " (see " + program + " --help)");
}

}  // namespace

int RunTool(int count, wchar_t** words, const char* program, const char* summary,
            std::span<const Command> commands) noexcept {
  try {
    PrepareConsole();
    const std::vector<std::wstring> copies(words + 1, words + count);
    return Dispatch(copies, program, summary, commands);
  } catch (const ToolError& error) {
    PrintError(std::string(program) + ": " + error.what() + "\n");
    return error.Code();
  } catch (const std::exception& error) {
    PrintError(std::string(program) + ": " + error.what() + "\n");
    return static_cast<int>(ExitCode::kFailed);
  }
}

}  // namespace veskard
