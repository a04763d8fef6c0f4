#include "tools/common/CommandLine.h"

#include <algorithm>
#include <string_view>

#include "tools/common/ToolError.h"
#include "tools/common/Utf8.h"

namespace veskard {
namespace {

constexpr OptionSpec kHelpOption = {"--help", nullptr, "show this text"};

std::string FullName(const CommandSpec& spec) {
  std::string name = spec.program;
  if (spec.name[0] != '\0') name += std::string(" ") + spec.name;
  return name;
}

ToolError WrongUsage(const CommandSpec& spec, const std::string& message) {
  return ToolError(ExitCode::kWrongUsage, message + " (see " + FullName(spec) + " --help)");
}

const OptionSpec* FindOption(const CommandSpec& spec, const std::string& name) {
  const auto found = std::find_if(spec.options.begin(), spec.options.end(),
                                  [&](const OptionSpec& option) { return name == option.name; });
  return found == spec.options.end() ? nullptr : &*found;
}

bool IsHelp(const std::wstring& word) {
  return word == L"--help" || word == L"-h";
}

std::string OptionTitle(const OptionSpec& option) {
  std::string title = option.name;
  if (option.value != nullptr) title += std::string(" ") + option.value;
  return title;
}

void AppendOption(std::string& text, const OptionSpec& option, size_t width) {
  std::string title = OptionTitle(option);
  title.resize(std::max(title.size(), width), ' ');
  text += "  " + title + "  " + option.help + "\n";
}

}  // namespace

Arguments::Arguments(const CommandSpec& spec, std::span<const std::wstring> words) : spec_(spec) {
  const auto end = std::find(words.begin(), words.end(), L"--");
  wantsHelp_ = std::any_of(words.begin(), end, IsHelp);
  if (wantsHelp_) return;
  Take(words);
  CheckCount();
  CheckNumbers();
}

void Arguments::CheckNumbers() const {
  for (const OptionSpec& option : spec_.options) {
    const std::string_view value = option.value == nullptr ? "" : option.value;
    if (value == "N" || value == "SECONDS") Number(option.name);
  }
}

void Arguments::Take(std::span<const std::wstring> words) {
  bool onlyPositional = false;
  for (size_t i = 0; i < words.size(); ++i) {
    const std::wstring& word = words[i];
    if (onlyPositional || !word.starts_with(L"--")) {
      positional_.push_back(word);
    } else if (word == L"--") {
      onlyPositional = true;
    } else {
      const std::string name = ToUtf8(word);
      const OptionSpec* option = FindOption(spec_, name);
      if (option == nullptr) throw WrongUsage(spec_, "unknown option " + name);
      const bool takesValue = option->value != nullptr;
      if (takesValue && i + 1 == words.size()) throw WrongUsage(spec_, name + " needs a value");
      values_[name] = takesValue ? words[++i] : std::wstring();
    }
  }
}

void Arguments::CheckCount() const {
  if (positional_.size() < spec_.minimumArguments) {
    throw WrongUsage(spec_, std::string("missing argument: ") + FullName(spec_) + " " + spec_.arguments);
  }
  if (positional_.size() > spec_.maximumArguments) {
    throw WrongUsage(spec_, "unexpected argument \"" + ToUtf8(positional_[spec_.maximumArguments]) + "\"");
  }
}

std::wstring Arguments::Text(const std::string& option, const std::wstring& otherwise) const {
  const auto found = values_.find(option);
  return found == values_.end() ? otherwise : found->second;
}

std::optional<uint32_t> Arguments::Number(const std::string& option) const {
  if (!Has(option)) return std::nullopt;
  const std::string text = ToUtf8(Text(option));
  const bool digits = !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
  const uint64_t value = digits && text.size() <= 10 ? std::stoull(text) : UINT64_MAX;
  if (value > UINT32_MAX) throw WrongUsage(spec_, option + " needs a number, not \"" + text + "\"");
  return static_cast<uint32_t>(value);
}

uint32_t Arguments::Number(const std::string& option, uint32_t otherwise) const {
  return Number(option).value_or(otherwise);
}

size_t Arguments::Choice(const std::string& option, std::span<const char* const> choices,
                         size_t otherwise) const {
  if (!Has(option)) return otherwise;
  const std::string text = ToUtf8(Text(option));
  const auto found = std::find(choices.begin(), choices.end(), text);
  if (found != choices.end()) return static_cast<size_t>(found - choices.begin());
  std::string list;
  for (const char* choice : choices) list += (list.empty() ? "" : ", ") + std::string(choice);
  throw WrongUsage(spec_, option + " must be one of: " + list);
}

std::string HelpText(const CommandSpec& spec) {
  size_t width = OptionTitle(kHelpOption).size();
  for (const OptionSpec& option : spec.options) width = std::max(width, OptionTitle(option).size());

  std::string text = std::string(spec.summary) + "\n\nUsage: " + FullName(spec);
  if (spec.arguments[0] != '\0') text += std::string(" ") + spec.arguments;
  text += " [OPTION...]\n\nOptions:\n";
  for (const OptionSpec& option : spec.options) AppendOption(text, option, width);
  AppendOption(text, kHelpOption, width);
  if (spec.notes[0] != '\0') text += std::string("\n") + spec.notes;
  return text;
}

}  // namespace veskard
