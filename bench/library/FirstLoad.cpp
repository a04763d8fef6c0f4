#include "bench/library/FirstLoad.h"

#include <windows.h>

#include <cstdio>
#include <cstdlib>

#include "bench/library/Libraries.h"
#include "core/WindowsOwners.h"

namespace veskard::bench {
namespace {

[[noreturn]] void Give(const char* what) {
  std::printf("cannot %s: error %lu\n", what, ::GetLastError());
  std::exit(1);
}

struct Pipe {
  UniqueHandle out;
  UniqueHandle in;
};

// The end that is written to goes to the new process.
Pipe NewPipe() {
  SECURITY_ATTRIBUTES inherited = {sizeof(inherited), nullptr, TRUE};
  Pipe pipe;
  if (!::CreatePipe(pipe.out.Out(), pipe.in.Out(), &inherited, 0)) Give("make a pipe");
  ::SetHandleInformation(pipe.out.Get(), HANDLE_FLAG_INHERIT, 0);
  return pipe;
}

void Start(std::wstring commandLine, HANDLE output) {
  STARTUPINFOW startup = {};
  startup.cb = sizeof(startup);
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdOutput = output;
  PROCESS_INFORMATION process = {};
  if (!::CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                        &process)) {
    Give("start load_once.exe");
  }
  const UniqueHandle thread(process.hThread), handle(process.hProcess);
}

std::string ReadAll(HANDLE pipe) {
  std::string text;
  char part[256];
  DWORD read = 0;
  while (::ReadFile(pipe, part, sizeof(part), &read, nullptr) && read > 0) text.append(part, read);
  return text;
}

}  // namespace

FirstLoad LoadInNewProcess(const std::wstring& library, const std::vector<std::wstring>& systemLibraries) {
  std::wstring commandLine = L"\"" + BesideThisProgram(L"load_once.exe") + L"\" \"" + library + L"\"";
  for (const std::wstring& name : systemLibraries) commandLine += L" " + name;
  Pipe pipe = NewPipe();
  Start(std::move(commandLine), pipe.in.Get());
  pipe.in.Reset();
  FirstLoad load;
  if (std::sscanf(ReadAll(pipe.out.Get()).c_str(), "%lf %lf %lf", &load.system, &load.library,
                  &load.unloading) != 3) {
    Give("read what load_once.exe measured");
  }
  return load;
}

}  // namespace veskard::bench
