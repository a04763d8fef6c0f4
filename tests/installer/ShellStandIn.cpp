#include "tests/installer/ShellStandIn.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "tests/support/ToolRun.h"

namespace veskard::test {
namespace {

const std::filesystem::path kCalls = L"C:\\windows\\temp\\shell-calls.txt";
const std::filesystem::path kAnswer = L"C:\\windows\\temp\\shell-answer.txt";

}  // namespace

ShellStandIn::ShellStandIn() {
  std::filesystem::create_directories(std::filesystem::path(Path()).parent_path());
  std::filesystem::copy_file(BuiltProgram(L"tests\\shell_stand_in.exe"), Path(),
                             std::filesystem::copy_options::overwrite_existing);
  TakeCalls();
  Answer(0, "");
}

ShellStandIn::~ShellStandIn() {
  std::filesystem::remove(kCalls);
  std::filesystem::remove(kAnswer);
}

void ShellStandIn::Answer(int exitCode, const std::string& lines) const {
  std::ofstream(kAnswer) << exitCode << "\n" << lines;
}

std::vector<std::string> ShellStandIn::TakeCalls() const {
  std::vector<std::string> calls;
  {
    std::ifstream file(kCalls);
    for (std::string line; std::getline(file, line);) calls.push_back(line);
  }
  std::filesystem::remove(kCalls);
  return calls;
}

const wchar_t* ShellStandIn::Path() {
  return L"C:\\windows\\system32\\WindowsPowerShell\\v1.0\\powershell.exe";
}

}  // namespace veskard::test
