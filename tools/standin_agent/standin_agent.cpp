// standin-agent: plays the agent, for demonstrations and tests.
#include <windows.h>

#include <chrono>
#include <cstdlib>
#include <string>

#include "tools/common/CommandLine.h"
#include "tools/common/Console.h"
#include "tools/common/FullPath.h"
#include "tools/common/JsonWriter.h"
#include "tools/common/ToolError.h"
#include "tools/common/ToolMain.h"
#include "tools/common/Utf8.h"
#include "tools/marks/Marks.h"
#include "tools/standin_agent/AgentMessage.h"
#include "tools/standin_agent/StandinAgent.h"

namespace veskard {
namespace {

constexpr int kDiedAsAsked = 10;

constexpr OptionSpec kServeOptions[] = {
    {"--user", nullptr, "play the per-user agent; otherwise the service"},
    {"--count", "N", "end after N messages"},
    {"--batches", "N", "end after N commands (messages with \"last\")"},
    {"--time-limit", "SECONDS", "wait at most so long for them (3600)"},
    {"--json", nullptr, "print one JSON object a line"},
    {"--fault", "MODE", "misbehave: no-mutex, no-pipe or never-reads"},
    {"--die-after-messages", "N", "disappear after N messages"},
    {"--die-after-bytes", "N", "disappear after N bytes, also within a message"},
};

constexpr CommandSpec kServe = {
    .program = "standin-agent",
    .name = "",
    .arguments = "",
    .summary = "Plays the agent: receives the Explorer extension's commands and prints each.",
    .minimumArguments = 0,
    .maximumArguments = 0,
    .options = kServeOptions,
    .notes =
        "The first line, \"ready: ...\", is printed when the pipe accepts clients.\n"
        "Other commands: lay-root and lay-placeholder write marks to the disk; each has --help.\n"
        "\n"
        "Exit codes: 0 the messages came, or Ctrl+C; 1 the system refused, or an agent of this\n"
        "kind is running; 2 wrong command line; 3 time limit; 10 disappeared as asked.\n",
};

constexpr const char* kFaultModes[] = {"none", "no-mutex", "no-pipe", "never-reads"};

AgentFaults FaultsFrom(const Arguments& arguments) {
  const std::string mode = kFaultModes[arguments.Choice("--fault", kFaultModes, 0)];
  AgentFaults faults;
  faults.withoutMutex = mode == "no-mutex";
  faults.withoutPipe = mode == "no-pipe";
  faults.neverReads = mode == "never-reads";
  faults.diesAfterMessages = arguments.Number("--die-after-messages");
  faults.diesAfterBytes = arguments.Number("--die-after-bytes");
  return faults;
}

void PrintMessageAsText(uint32_t number, const ReceivedMessage& received) {
  const AgentMessage message = DecodeMessage(received.bytes);
  std::string text = "message " + std::to_string(number) + " from client " + std::to_string(received.client) +
                     ", " + std::to_string(received.bytes.size()) + " bytes\n" + "  bytes  " +
                     EscapeBytes(received.bytes) + "\n";
  if (message.isDictionary) {
    text += "  dump   " + message.dump + "\n";
    for (const std::string& path : message.paths) text += "  path   " + path + "\n";
    text += std::string("  asks   ") + ActionTitle(message.action);
    text += message.last ? "; end of the command\n" : "\n";
  } else {
    text += "  this is not a bencoded dictionary\n";
  }
  Print(text);
}

void PrintMessageAsJson(uint32_t number, const ReceivedMessage& received) {
  const AgentMessage message = DecodeMessage(received.bytes);
  JsonWriter json;
  json.BeginObject().Field("event", "message").Field("number", number).Field("client", received.client);
  json.Field("size", received.bytes.size()).Field("bytes", EscapeBytes(received.bytes));
  json.Field("valid", message.isDictionary);
  if (message.isDictionary) {
    json.Field("action", message.action).Field("title", ActionTitle(message.action));
    json.Field("last", message.last).Key("paths").BeginArray();
    for (const std::string& path : message.paths) json.String(std::string_view(path));
    json.EndArray().Field("dump", message.dump);
  }
  Print(json.EndObject().Text() + "\n");
}

void PrintReady(const StandinAgent& agent, bool asJson) {
  const AgentEndpoint& endpoint = agent.Endpoint();
  if (!asJson) {
    Print(std::string("ready: ") + endpoint.title + ", pipe " + ToUtf8(endpoint.pipe) + ", mutex " +
          ToUtf8(endpoint.mutex) + "\n");
    return;
  }
  JsonWriter json;
  json.BeginObject().Field("event", "ready").Field("agent", endpoint.title);
  json.Field("pipe", std::wstring(endpoint.pipe)).Field("mutex", std::wstring(endpoint.mutex));
  Print(json.EndObject().Text() + "\n");
}

// The console's handler has no argument of its own to find the agent by.
constinit StandinAgent* stoppedByCtrlC = nullptr;
constinit bool ctrlCPressed = false;

BOOL WINAPI OnConsoleEvent(DWORD) {
  ctrlCPressed = true;
  stoppedByCtrlC->StopWaiting();
  return TRUE;
}

bool WaitForWhatWasAsked(StandinAgent& agent, const Arguments& arguments) {
  const std::chrono::seconds limit(arguments.Number("--time-limit", 3600));
  if (const auto count = arguments.Number("--count")) return agent.WaitForMessages(*count, limit);
  if (const auto batches = arguments.Number("--batches")) return agent.WaitForBatches(*batches, limit);
  return agent.WaitForMessages(SIZE_MAX, limit);
}

// An agent that disappears cleans nothing up: the process just ends.
[[noreturn]] void DieAsAsked() {
  ::TerminateProcess(::GetCurrentProcess(), kDiedAsAsked);
  std::abort();
}

int RunServe(const Arguments& arguments) {
  const bool asJson = arguments.Has("--json");
  StandinAgent agent({
      .kind = arguments.Has("--user") ? AgentKind::kUser : AgentKind::kService,
      .faults = FaultsFrom(arguments),
      .onMessage = asJson ? PrintMessageAsJson : PrintMessageAsText,
  });
  // cppcheck-suppress danglingLifetime ; the handler below is taken away before the agent goes
  stoppedByCtrlC = &agent;
  ::SetConsoleCtrlHandler(OnConsoleEvent, TRUE);
  PrintReady(agent, asJson);
  const bool came = WaitForWhatWasAsked(agent, arguments);
  ::SetConsoleCtrlHandler(OnConsoleEvent, FALSE);
  if (agent.IsDead()) DieAsAsked();
  if (came || ctrlCPressed) return static_cast<int>(ExitCode::kDone);
  throw ToolError(ExitCode::kTimeLimit, "the time limit passed before all messages came");
}

constexpr const char* kFolderSources[] = {"file", "stream", "type-stream"};
constexpr const char* kPlaceholderSources[] = {"stream", "predecessor", "download"};

constexpr OptionSpec kLayRootOptions[] = {
    {"--type", "N", "\"type\"; 2 (the default): content may be removed from all devices"},
    {"--mode", "N", "\"mode\"; 0: not selective; other numbers (default 1): selective"},
    {"--owner", "NAME", "the user who owns the folder; otherwise every user"},
    {"--no-remove-from-all", nullptr, "forbid removing from all devices"},
    {"--source", "WHERE", "where the record is written: file (the default), stream or type-stream"},
};

constexpr CommandSpec kLayRoot = {
    .program = "standin-agent",
    .name = "lay-root",
    .arguments = "FOLDER",
    .summary = "Marks a folder as synchronised and writes its record, as the agent does.",
    .minimumArguments = 1,
    .maximumArguments = 1,
    .options = kLayRootOptions,
    .notes = "Exit codes: 0 done; 1 something cannot be written; 2 wrong command line.\n",
};

int RunLayRoot(const Arguments& arguments) {
  const FolderRecord record = {
      .type = static_cast<int32_t>(arguments.Number("--type", 2)),
      .mode = static_cast<int32_t>(arguments.Number("--mode", 1)),
      .disableRemoveFromAllDevices = arguments.Has("--no-remove-from-all"),
      .owner = ToUtf8(arguments.Text("--owner")),
  };
  const auto source = static_cast<FolderRecordSource>(arguments.Choice("--source", kFolderSources, 0));
  LayFolderRecord(FullPath(arguments.Positional()[0]), record, source);
  return static_cast<int>(ExitCode::kDone);
}

constexpr OptionSpec kLayPlaceholderOptions[] = {
    {"--progress", "N", "percent received; otherwise the file is not being received"},
    {"--folder", nullptr, "the placeholder stands for a folder"},
    {"--source", "WHERE", "where the state is written: stream (the default), predecessor or download"},
};

constexpr CommandSpec kLayPlaceholder = {
    .program = "standin-agent",
    .name = "lay-placeholder",
    .arguments = "FILE.ghpl...",
    .summary = "Makes placeholder files and writes their states, as the agent does.",
    .minimumArguments = 1,
    .maximumArguments = kAnyNumber,
    .options = kLayPlaceholderOptions,
    .notes = "Exit codes: 0 done; 1 something cannot be written; 2 wrong command line.\n",
};

int RunLayPlaceholder(const Arguments& arguments) {
  const PlaceholderRecord record = {.progress = arguments.Number("--progress"),
                                    .isFolder = arguments.Has("--folder")};
  const auto source = static_cast<PlaceholderSource>(arguments.Choice("--source", kPlaceholderSources, 0));
  for (const std::wstring& file : arguments.Positional()) LayPlaceholder(FullPath(file), record, source);
  return static_cast<int>(ExitCode::kDone);
}

constexpr Command kCommands[] = {
    {kServe, RunServe}, {kLayRoot, RunLayRoot}, {kLayPlaceholder, RunLayPlaceholder}};

}  // namespace
}  // namespace veskard

int wmain(int count, wchar_t** words) {
  return veskard::RunTool(count, words, "standin-agent",
                          "Plays the agent: receives its commands and writes its marks.", veskard::kCommands);
}
