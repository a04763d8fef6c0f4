// shellprobe invoke: choosing a command.
#include <chrono>

#include "tools/common/Console.h"
#include "tools/common/ToolError.h"
#include "tools/common/Utf8.h"
#include "tools/shellprobe/Commands.h"
#include "tools/shellprobe/ProbeExit.h"
#include "tools/shellprobe/ShellMenu.h"
#include "tools/shellprobe/ThreadWatch.h"

namespace veskard {
namespace {

constexpr OptionSpec kOptions[] = {
    {"--force", nullptr, "pass COMMAND, a number, to the handler even if the menu does not offer it"},
    {"--wait", "SECONDS", "wait at most so long until the command is sent (40)"},
    kLibraryOption,
};

uint32_t NumberOf(const std::wstring& command) {
  const bool digits = !command.empty() && command.find_first_not_of(L"0123456789") == std::wstring::npos;
  if (!digits || command.size() > 5) {
    throw ToolError(ExitCode::kWrongUsage,
                    "with --force the command is a number (see shellprobe invoke --help)");
  }
  return static_cast<uint32_t>(std::stoul(command));
}

uint32_t ChosenOffset(const ShellMenu& menu, const std::wstring& command) {
  if (menu.Refused()) {
    throw ToolError(kMenuRefused,
                    "the extension refuses to add to this menu (" + HexCode(menu.Answer()) + ")");
  }
  const ShellMenuItem* item = menu.Find(command);
  if (item == nullptr) throw ToolError(kNoSuchCommand, "the menu has no command \"" + ToUtf8(command) + "\"");
  if (item->greyed) throw ToolError(kNoSuchCommand, "\"" + ToUtf8(item->text) + "\" is greyed");
  return item->offset;
}

}  // namespace

const CommandSpec kInvokeSpec = {
    .program = "shellprobe",
    .name = "invoke",
    .arguments = "COMMAND PATH...",
    .summary = "Right-clicks the paths and chooses a command, by its text or its number.",
    .minimumArguments = 2,
    .maximumArguments = kAnyNumber,
    .options = kOptions,
    .notes =
        "Example: shellprobe invoke \"Sync to this device\" C:\\Atlas\\lecture.mp4.ghpl\n"
        "\n"
        "The command is sent to the agent in the background. The result does not show whether an\n"
        "agent received it; the agent's own log does.\n"
        "\n"
        "Exit codes: 0 the extension accepted the command and has finished; 1 the extension or the\n"
        "system refused; 2 wrong command line; 3 the command is not sent after --wait; 10 not\n"
        "registered; 11 the extension refuses this menu; 12 no such command, or greyed.\n",
};

int RunInvoke(const Arguments& arguments) {
  const ComApartment apartment;
  const ExtensionClasses classes = ClassesFor(arguments);
  const ShellMenu menu(classes, SelectedPaths(arguments, 1));
  const std::wstring& command = arguments.Positional()[0];
  const uint32_t offset = arguments.Has("--force") ? NumberOf(command) : ChosenOffset(menu, command);

  const ThreadWatch senders;
  const HRESULT result = menu.Invoke(offset);
  if (FAILED(result))
    throw ToolError(ExitCode::kFailed, "the handler refuses the command (" + HexCode(result) + ")");
  if (!senders.WaitForNewThreads(std::chrono::seconds(arguments.Number("--wait", 40)))) {
    throw ToolError(ExitCode::kTimeLimit, "the command is not sent yet");
  }
  return static_cast<int>(ExitCode::kDone);
}

}  // namespace veskard
