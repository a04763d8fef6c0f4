// Stands in for PowerShell, which Wine does not have. It adds to a file which versions are
// installed, and its command line; then it prints what another file says, and ends with
// the exit code on that file's first line. See ShellStandIn.h.
//
// With arguments of its own it is any program that prints:
//
//   shell_stand_in lines COUNT     that many lines
//   shell_stand_in torn            a line in two pieces, an empty one, and one without an end
//   shell_stand_in forever         a line, and no end
//   shell_stand_in code NUMBER     ends with it
//   shell_stand_in input           reads its input to the end, then a line
#include <windows.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <limits>
#include <string>

#include "tools/common/Utf8.h"

namespace {

constexpr char kProductFolder[] = "C:\\Program Files\\Nimbrel Veskard Agent Explorer Extension";
constexpr char kCalls[] = "C:\\windows\\temp\\shell-calls.txt";
constexpr char kAnswer[] = "C:\\windows\\temp\\shell-answer.txt";

/// The versions whose files for the first-level menu are there, each followed by a blank.
std::string VersionsThere() {
  std::error_code error;
  std::string versions;
  for (const auto& folder : std::filesystem::directory_iterator(kProductFolder, error)) {
    if (std::filesystem::exists(folder.path() / "VeskardExplorerCommand.msix") &&
        std::filesystem::exists(folder.path() / "VeskardExplorerCommand.dll"))
      versions += folder.path().filename().string() + " ";
  }
  return versions;
}

int AnswerAsPowerShell() {
  std::ofstream(kCalls, std::ios::app) << VersionsThere() << veskard::ToUtf8(::GetCommandLineW()) << "\n";
  std::ifstream answer(kAnswer);
  int code = 0;
  answer >> code;
  std::string line;
  std::getline(answer, line);
  while (std::getline(answer, line)) std::cerr << line << "\n";
  return code;
}

int Print(const std::string& kind, int number) {
  if (kind == "code") return number;
  if (kind == "lines") {
    for (int i = 0; i < number; ++i) std::cout << "line " << i << "\n";
  } else if (kind == "torn") {
    std::cout << "one" << std::flush;
    ::Sleep(200);
    std::cerr << " line\n\n   \n" << std::flush;
    std::cout << "no end" << std::flush;
  } else if (kind == "input") {
    std::cin.ignore(std::numeric_limits<std::streamsize>::max());
    std::cout << "the end\n";
  } else if (kind == "forever") {
    std::cout << "begun" << std::endl;
    ::Sleep(INFINITE);
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string kind = argc > 1 ? argv[1] : "";
  if (kind == "lines" || kind == "torn" || kind == "forever" || kind == "code" || kind == "input")
    return Print(kind, argc > 2 ? std::atoi(argv[2]) : 0);
  return AnswerAsPowerShell();
}
