// The command lines of the tools: one table per command, from which the parser
// and the help text are both made.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace veskard {

/// One option: "--size" with the value's name, or a bare flag (null value). A value
/// named "N" or "SECONDS" is a whole decimal number.
struct OptionSpec {
  const char* name;
  const char* value;
  const char* help;  // one line
};

inline constexpr size_t kAnyNumber = static_cast<size_t>(-1);

/// One command: "shellprobe menu PATH..." with its options. `name` is empty in a
/// program of a single command.
struct CommandSpec {
  const char* program;
  const char* name;
  const char* arguments;  // as shown behind the name: "PATH..."
  const char* summary;    // one line, what it does in the reader's words
  size_t minimumArguments;
  size_t maximumArguments;
  std::span<const OptionSpec> options;
  const char* notes;  // below the options: examples, the program's exit codes
};

/// A parsed command line. Options may stand anywhere; "--" ends them.
class Arguments {
 public:
  /// Throws ToolError(kWrongUsage) for an unknown option, a value that is missing
  /// or should be a number, and too few or too many arguments: before the command
  /// has done anything. `words` starts behind the command's name.
  Arguments(const CommandSpec& spec, std::span<const std::wstring> words);

  /// --help or -h was given; nothing else has been checked then.
  bool WantsHelp() const noexcept { return wantsHelp_; }

  bool Has(const std::string& option) const { return values_.contains(option); }
  /// The option's value; `otherwise` without the option. A repeated option: the last counts.
  std::wstring Text(const std::string& option, const std::wstring& otherwise = {}) const;
  /// A whole decimal number; throws ToolError(kWrongUsage) for anything else.
  std::optional<uint32_t> Number(const std::string& option) const;
  uint32_t Number(const std::string& option, uint32_t otherwise) const;
  /// The index of the value in `choices`; throws ToolError(kWrongUsage) when it is none of them.
  size_t Choice(const std::string& option, std::span<const char* const> choices, size_t otherwise) const;

  const std::vector<std::wstring>& Positional() const noexcept { return positional_; }

 private:
  void CheckNumbers() const;
  void Take(std::span<const std::wstring> words);
  void CheckCount() const;

  const CommandSpec& spec_;
  bool wantsHelp_ = false;
  std::map<std::string, std::wstring> values_;
  std::vector<std::wstring> positional_;
};

/// The whole --help text of a command.
std::string HelpText(const CommandSpec& spec);

}  // namespace veskard
