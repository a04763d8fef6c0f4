// shellprobe tail: the diagnostic log, as text, as it grows.
#include <windows.h>

#include <algorithm>

#include "shellext/module/DiagnosticLog.h"
#include "tools/common/Console.h"
#include "tools/common/FullPath.h"
#include "tools/common/ToolError.h"
#include "tools/common/Utf8.h"
#include "tools/shellprobe/Commands.h"
#include "tools/shellprobe/LogFollower.h"

namespace veskard {
namespace {

constexpr DWORD kPollMilliseconds = 200;
constexpr uint32_t kDefaultLines = 10;
constexpr ULONGLONG kForever = ~ULONGLONG{0};

constexpr OptionSpec kOptions[] = {
    {"--lines", "N", "begin with the last N lines (10)"},
    {"--process", "NAME", "only lines of this process: explorer.exe, 4412 or explorer.exe:4412"},
    {"--no-follow", nullptr, "print the present lines and end"},
    {"--count", "N", "end after N lines"},
    {"--time-limit", "SECONDS", "end with code 3 after this time"},
    {"--file", "FILE", "this log file instead of the current user's"},
};

/// Prints the lines that are asked for, and counts them.
class LinePrinter {
 public:
  explicit LinePrinter(const Arguments& arguments)
      : process_(arguments.Text("--process")), left_(arguments.Number("--count", UINT32_MAX)) {}

  bool IsDone() const noexcept { return left_ == 0; }

  void KeepWanted(std::vector<std::wstring>& lines) const {
    if (process_.empty()) return;
    std::erase_if(lines, [&](const std::wstring& line) { return !IsLineOfProcess(line, process_); });
  }

  void PrintLines(std::vector<std::wstring> lines) {
    KeepWanted(lines);
    for (const std::wstring& line : lines) {
      if (IsDone()) return;
      Print(ToUtf8(line) + "\n");
      if (left_ != UINT32_MAX) --left_;
    }
  }

 private:
  std::wstring process_;
  uint32_t left_;
};

std::wstring FileToFollow(const Arguments& arguments) {
  if (arguments.Has("--file")) return FullPath(arguments.Text("--file"));
  std::wstring path = DiagnosticLogPath();
  if (path.empty()) throw ToolError(ExitCode::kFailed, "the system does not give the path of the log");
  return path;
}

std::vector<std::wstring> LastLines(std::vector<std::wstring> lines, size_t count) {
  if (lines.size() > count) lines.erase(lines.begin(), lines.end() - static_cast<std::ptrdiff_t>(count));
  return lines;
}

void Follow(LogFollower& log, LinePrinter& printer, ULONGLONG end) {
  while (!printer.IsDone()) {
    if (::GetTickCount64() >= end) throw ToolError(ExitCode::kTimeLimit, "the time limit passed");
    ::Sleep(kPollMilliseconds);
    printer.PrintLines(log.ReadNewLines());
  }
}

}  // namespace

const CommandSpec kTailSpec = {
    .program = "shellprobe",
    .name = "tail",
    .arguments = "",
    .summary = "Prints the diagnostic log's lines, and new ones as they come, of all processes.",
    .minimumArguments = 0,
    .maximumArguments = 0,
    .options = kOptions,
    .notes =
        "Waits for a log that does not exist yet. After a rotation it prints lines of the new file,\n"
        "and of the old one while processes still write it.\n"
        "\n"
        "Exit codes: 0 done; 1 there is no log (with --no-follow); 2 wrong command line; 3 time limit.\n",
};

int RunTail(const Arguments& arguments) {
  const std::wstring file = FileToFollow(arguments);
  const auto limit = arguments.Number("--time-limit");
  const ULONGLONG end = limit ? ::GetTickCount64() + ULONGLONG{*limit} * 1000 : kForever;
  const bool follow = !arguments.Has("--no-follow");
  if (!follow && ::GetFileAttributesW(file.c_str()) == INVALID_FILE_ATTRIBUTES) {
    throw ToolError(ExitCode::kFailed, "there is no log: " + ToUtf8(file));
  }
  LogFollower log(file);
  LinePrinter printer(arguments);
  std::vector<std::wstring> present = log.ReadNewLines();
  printer.KeepWanted(present);
  printer.PrintLines(LastLines(std::move(present), arguments.Number("--lines", kDefaultLines)));
  if (follow) Follow(log, printer, end);
  return static_cast<int>(ExitCode::kDone);
}

}  // namespace veskard
