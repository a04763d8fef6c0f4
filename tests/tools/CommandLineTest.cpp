#include "tools/common/CommandLine.h"

#include <gtest/gtest.h>

#include "tools/common/ToolError.h"

namespace veskard {
namespace {

constexpr OptionSpec kOptions[] = {
    {"--png", "FILE", "save a picture"}, {"--json", nullptr, "print JSON"}, {"--count", "N", "how many"}};

constexpr CommandSpec kSpec = {.program = "tool",
                               .name = "do",
                               .arguments = "PATH...",
                               .summary = "Does it.",
                               .minimumArguments = 1,
                               .maximumArguments = 2,
                               .options = kOptions,
                               .notes = "Exit codes: 0 done.\n"};

Arguments Parse(const std::vector<std::wstring>& words) {
  return Arguments(kSpec, words);
}

std::string ErrorOf(const std::vector<std::wstring>& words) {
  try {
    Parse(words);
  } catch (const ToolError& error) {
    EXPECT_EQ(error.Code(), static_cast<int>(ExitCode::kWrongUsage));
    return error.what();
  }
  return "none";
}

TEST(CommandLineTest, OptionsStandAnywhere) {
  const Arguments arguments = Parse({L"a", L"--png", L"p.png", L"b", L"--json"});
  EXPECT_EQ(arguments.Positional(), (std::vector<std::wstring>{L"a", L"b"}));
  EXPECT_EQ(arguments.Text("--png"), L"p.png");
  EXPECT_TRUE(arguments.Has("--json"));
  EXPECT_FALSE(arguments.Has("--count"));
}

TEST(CommandLineTest, TwoHyphensEndTheOptions) {
  EXPECT_EQ(Parse({L"--", L"--json"}).Positional(), (std::vector<std::wstring>{L"--json"}));
  EXPECT_EQ(Parse({L"--", L"--help"}).Positional(), (std::vector<std::wstring>{L"--help"}));
}

TEST(CommandLineTest, TheLastOfARepeatedOptionCounts) {
  EXPECT_EQ(Parse({L"a", L"--png", L"1", L"--png", L"2"}).Text("--png"), L"2");
}

TEST(CommandLineTest, AnOptionsValueMayLookLikeAnOption) {
  EXPECT_EQ(Parse({L"a", L"--png", L"--json"}).Text("--png"), L"--json");
}

TEST(CommandLineTest, HelpNeedsNothingElse) {
  EXPECT_TRUE(Parse({L"--help"}).WantsHelp());
  EXPECT_TRUE(Parse({L"--nonsense", L"-h"}).WantsHelp());
}

TEST(CommandLineTest, SaysWhatIsWrong) {
  EXPECT_EQ(ErrorOf({L"a", L"--colour"}), "unknown option --colour (see tool do --help)");
  EXPECT_EQ(ErrorOf({L"a", L"--png"}), "--png needs a value (see tool do --help)");
  EXPECT_EQ(ErrorOf({}), "missing argument: tool do PATH... (see tool do --help)");
  EXPECT_EQ(ErrorOf({L"a", L"b", L"c"}), "unexpected argument \"c\" (see tool do --help)");
}

TEST(CommandLineTest, NumbersAreWholeAndDecimal) {
  EXPECT_EQ(Parse({L"a", L"--count", L"4294967295"}).Number("--count"), 4294967295u);
  EXPECT_EQ(Parse({L"a"}).Number("--count"), std::nullopt);
  EXPECT_EQ(Parse({L"a"}).Number("--count", 7), 7u);
  for (const wchar_t* bad : {L"", L"-1", L"1x", L"0x10", L"4294967296", L"99999999999999999999"}) {
    EXPECT_THROW(Parse({L"a", L"--count", bad}).Number("--count"), ToolError) << bad;
  }
}

TEST(CommandLineTest, ChoicesAreListedWhenNoneFits) {
  constexpr const char* kSizes[] = {"large", "small"};
  EXPECT_EQ(Parse({L"a", L"--png", L"small"}).Choice("--png", kSizes, 0), 1u);
  EXPECT_EQ(Parse({L"a"}).Choice("--png", kSizes, 1), 1u);
  EXPECT_THROW(Parse({L"a", L"--png", L"tiny"}).Choice("--png", kSizes, 0), ToolError);
}

TEST(CommandLineTest, HelpIsMadeFromTheTable) {
  EXPECT_EQ(HelpText(kSpec),
            "Does it.\n\n"
            "Usage: tool do PATH... [OPTION...]\n\n"
            "Options:\n"
            "  --png FILE  save a picture\n"
            "  --json      print JSON\n"
            "  --count N   how many\n"
            "  --help      show this text\n\n"
            "Exit codes: 0 done.\n");
}

}  // namespace
}  // namespace veskard
