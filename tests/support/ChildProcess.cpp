#include "tests/support/ChildProcess.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "core/ModuleHandle.h"

namespace veskard::test {

std::wstring BuiltTestProgram(const std::wstring& name) {
  return (std::filesystem::path(ReadModulePath(nullptr)).parent_path() / name).wstring();
}

ChildProcess::ChildProcess(const std::wstring& program, const std::wstring& arguments) {
  std::wstring commandLine = L"\"" + program + L"\" " + arguments;
  STARTUPINFOW startup = {};
  startup.cb = sizeof(startup);
  PROCESS_INFORMATION started = {};
  EXPECT_TRUE(::CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                               &startup, &started))
      << "error " << ::GetLastError();
  process_.Reset(started.hProcess);
  const UniqueHandle thread(started.hThread);
}

ChildProcess::~ChildProcess() {
  if (Wait(0) == kStillRunning) Kill();
}

DWORD ChildProcess::Wait(DWORD milliseconds) const {
  if (::WaitForSingleObject(process_.Get(), milliseconds) != WAIT_OBJECT_0) return kStillRunning;
  DWORD code = kStillRunning;
  ::GetExitCodeProcess(process_.Get(), &code);
  return code;
}

void ChildProcess::Kill() const {
  ::TerminateProcess(process_.Get(), 9);
  ::WaitForSingleObject(process_.Get(), INFINITE);
}

}  // namespace veskard::test
