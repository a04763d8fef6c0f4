// The programs as a script sees them: output, one line of error, exit code.
#include <gmock/gmock.h>

#include <algorithm>

#include "tests/support/ScratchFolder.h"
#include "tests/support/ToolRun.h"

namespace veskard::test {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

constexpr wchar_t kProbe[] = L"shellprobe.exe";
constexpr wchar_t kAgent[] = L"standin-agent.exe";

void ExpectOneLineOfError(const ToolResult& result, DWORD exitCode, const std::string& start) {
  EXPECT_EQ(result.exitCode, exitCode);
  EXPECT_THAT(result.errors, StartsWith(start));
  EXPECT_EQ(std::count(result.errors.begin(), result.errors.end(), '\n'), 1) << result.errors;
  EXPECT_EQ(result.errors.empty() ? 0 : result.errors.back(), '\n');
}

TEST(ProgramsTest, EveryCommandExplainsItself) {
  for (const wchar_t* command : {L"explain", L"doctor", L"tail", L"menu", L"invoke", L"icon"}) {
    const ToolResult result = RunTool(kProbe, {command, L"--help"});
    EXPECT_EQ(result.exitCode, 0u);
    EXPECT_THAT(result.output, HasSubstr("Usage: shellprobe "));
    EXPECT_THAT(result.output, HasSubstr("Exit codes: 0 "));
    EXPECT_THAT(result.errors, IsEmpty());
  }
  for (const std::vector<std::wstring>& words : std::vector<std::vector<std::wstring>>{
           {L"--help"}, {L"lay-root", L"--help"}, {L"lay-placeholder", L"--help"}}) {
    const ToolResult result = RunTool(kAgent, words);
    EXPECT_EQ(result.exitCode, 0u);
    EXPECT_THAT(result.output, HasSubstr("Usage: standin-agent"));
  }
}

TEST(ProgramsTest, TheOverviewNamesTheCommands) {
  const ToolResult result = RunTool(kProbe, {L"--help"});
  EXPECT_EQ(result.exitCode, 0u);
  for (const char* command : {"  explain ", "  doctor ", "  tail ", "  menu ", "  invoke ", "  icon "})
    EXPECT_THAT(result.output, HasSubstr(command));
}

TEST(ProgramsTest, WrongCommandLinesAreRefused) {
  ExpectOneLineOfError(RunTool(kProbe, {}), 2, "shellprobe: missing argument: COMMAND");
  ExpectOneLineOfError(RunTool(kProbe, {L"dance"}), 2, "shellprobe: unknown command \"dance\"");
  ExpectOneLineOfError(RunTool(kProbe, {L"menu"}), 2, "shellprobe: missing argument");
  ExpectOneLineOfError(RunTool(kProbe, {L"icon", L"a", L"--size", L"huge"}), 2,
                       "shellprobe: --size must be one of: large, small");
  ExpectOneLineOfError(RunTool(kAgent, {L"--count", L"many"}), 2, "standin-agent: --count needs a number");
}

TEST(ProgramsTest, WithoutRegistrationTheProbeSaysHowToRegister) {
  const ToolResult result = RunTool(kProbe, {L"menu", L"C:\\"});
  ExpectOneLineOfError(result, 10, "shellprobe: the extension is not registered");
  EXPECT_THAT(result.errors, HasSubstr("regsvr32 /n /i:S"));
}

TEST(ProgramsTest, ALibraryThatIsNotThereIsNamed) {
  ExpectOneLineOfError(RunTool(kProbe, {L"menu", L"C:\\", L"--dll", L"C:\\missing.dll"}), 1,
                       "shellprobe: cannot load C:\\missing.dll: ");
}

TEST(ProgramsTest, AnAgentThatWaitsInVainSaysSo) {
  const ToolResult result = RunTool(kAgent, {L"--user", L"--count", L"1", L"--time-limit", L"1"});
  ExpectOneLineOfError(result, 3, "standin-agent: the time limit passed");
  EXPECT_THAT(result.output, StartsWith("ready: per-user agent, pipe \\\\.\\pipe\\synccmd_SIT, mutex "));
}

TEST(ProgramsTest, AnAgentThatHasNothingToWaitForEndsAtOnce) {
  const ToolResult result = RunTool(kAgent, {L"--user", L"--count", L"0", L"--json"});
  EXPECT_EQ(result.exitCode, 0u);
  EXPECT_THAT(result.output, StartsWith("{\"event\": \"ready\", \"agent\": \"per-user agent\""));
}

TEST(ProgramsTest, TheAgentLaysMarks) {
  const ScratchFolder folder;
  const auto exists = [&](const wchar_t* name) {
    return ::GetFileAttributesW((folder / name).c_str()) != INVALID_FILE_ATTRIBUTES;
  };
  EXPECT_EQ(RunTool(kAgent, {L"lay-root", folder.Path(), L"--owner", L"Ad\u00e8le"}).exitCode, 0u);
  EXPECT_TRUE(exists(L".sync\\ID"));
  EXPECT_TRUE(exists(L".sync\\FolderType"));
  EXPECT_EQ(RunTool(kAgent, {L"lay-placeholder", folder / L"a.ghpl", folder / L"b.ghpl"}).exitCode, 0u);
  EXPECT_TRUE(exists(L"a.ghpl"));
  EXPECT_TRUE(exists(L"b.ghpl:com.nimbrel.VeskardAgent"));
}

TEST(ProgramsTest, MarksThatCannotBeLaidAreAnError) {
  ExpectOneLineOfError(RunTool(kAgent, {L"lay-root", L"Q:\\nowhere"}), 1,
                       "standin-agent: cannot make the folder Q:");
}

}  // namespace
}  // namespace veskard::test
