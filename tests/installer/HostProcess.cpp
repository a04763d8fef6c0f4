#include "tests/installer/HostProcess.h"

#include <gtest/gtest.h>

#include "tests/support/ToolRun.h"
#include "tools/common/Utf8.h"

namespace veskard::test {
namespace {

constexpr DWORD kPatience = 60'000;

struct PipeEnds {
  UniqueHandle reading;
  UniqueHandle writing;
};

/// A pipe of which a child inherits nothing but what it is given.
PipeEnds NewPipe() {
  SECURITY_ATTRIBUTES inheritable = {sizeof inheritable, nullptr, TRUE};
  PipeEnds pipe;
  EXPECT_TRUE(::CreatePipe(pipe.reading.Out(), pipe.writing.Out(), &inheritable, 0));
  return pipe;
}

void KeepToOneself(const UniqueHandle& end) {
  ::SetHandleInformation(end.Get(), HANDLE_FLAG_INHERIT, 0);
}

}  // namespace

HostProcess::HostProcess(const std::wstring& name) {
  PipeEnds commands = NewPipe();
  PipeEnds answers = NewPipe();
  KeepToOneself(commands.writing);
  KeepToOneself(answers.reading);
  STARTUPINFOW startup = {};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdInput = commands.reading.Get();
  startup.hStdOutput = answers.writing.Get();
  startup.hStdError = ::GetStdHandle(STD_ERROR_HANDLE);
  PROCESS_INFORMATION process = {};
  const std::wstring program = BuiltProgram(L"tests\\" + name);
  EXPECT_TRUE(::CreateProcessW(program.c_str(), nullptr, nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                               &startup, &process));
  const UniqueHandle thread(process.hThread);
  process_.Reset(process.hProcess);
  commands_ = std::move(commands.writing);
  answers_ = std::move(answers.reading);
}

HostProcess::~HostProcess() {
  commands_.Reset();  // the end of its standard input
  if (::WaitForSingleObject(process_.Get(), kPatience) != WAIT_OBJECT_0)
    ::TerminateProcess(process_.Get(), 1);
}

std::string HostProcess::Activate(const std::wstring& classId) {
  return Answer("activate " + ToUtf8(classId));
}

std::string HostProcess::Load(const std::wstring& path) {
  return Answer("load " + ToUtf8(path));
}

std::string HostProcess::Ask() {
  return Answer("ask");
}

std::string HostProcess::Answer(const std::string& line) {
  const std::string command = line + "\n";
  DWORD count = 0;
  ::WriteFile(commands_.Get(), command.data(), static_cast<DWORD>(command.size()), &count, nullptr);
  std::string answer;
  char c = 0;
  while (::ReadFile(answers_.Get(), &c, 1, &count, nullptr) && count == 1 && c != '\n') {
    if (c != '\r') answer += c;
  }
  return answer;
}

}  // namespace veskard::test
