// ToolMain: the frame of every tool's wmain.
#pragma once

#include <span>

#include "tools/common/CommandLine.h"

namespace veskard {

/// A command and what runs it; the result is the program's exit code.
struct Command {
  const CommandSpec& spec;
  int (*run)(const Arguments& arguments);
};

/// Runs the command that the first word names; --version alone prints VersionText; a command with an empty
/// name, if there is one, takes every other command line, --help included. A ToolError becomes "PROGRAM:
/// message" on standard error and its exit code.
int RunTool(int count, wchar_t** words, const char* program, const char* summary,
            std::span<const Command> commands) noexcept;

}  // namespace veskard
