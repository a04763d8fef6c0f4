#include "tests/support/ToolRun.h"

#include <thread>

#include "core/ModuleHandle.h"

namespace veskard::test {
namespace {

constexpr DWORD kLimit = 60'000;
constexpr DWORD kTookTooLong = 0xFFFFFFFF;

/// Both ends of a pipe, of which a child inherits the writing one.
struct Pipe {
  Pipe() {
    SECURITY_ATTRIBUTES inheritable = {sizeof inheritable, nullptr, TRUE};
    ::CreatePipe(reading.Out(), writing.Out(), &inheritable, 0);
    ::SetHandleInformation(reading.Get(), HANDLE_FLAG_INHERIT, 0);
  }
  UniqueHandle reading;
  UniqueHandle writing;
};

void ReadToEnd(HANDLE pipe, std::string& text) {
  char buffer[4096];
  DWORD count = 0;
  while (::ReadFile(pipe, buffer, sizeof buffer, &count, nullptr) && count != 0) text.append(buffer, count);
}

// Quotes a word so that the program's runtime reads it back: backslashes count
// only in front of a quotation mark.
std::wstring Quoted(const std::wstring& word) {
  std::wstring text = L"\"";
  size_t backslashes = 0;
  for (const wchar_t c : word) {
    if (c == L'"') text.append(backslashes + 1, L'\\');
    backslashes = c == L'\\' ? backslashes + 1 : 0;
    text += c;
  }
  return text.append(backslashes, L'\\') + L"\"";
}

std::wstring CommandLineOf(const std::wstring& program, const std::vector<std::wstring>& arguments) {
  std::wstring line = Quoted(program);
  for (const std::wstring& argument : arguments) line += L" " + Quoted(argument);
  return line;
}

}  // namespace

std::wstring BuiltProgram(const std::wstring& name) {
  // The tests lie in a folder of their own below the programs.
  std::wstring path = ReadModulePath(nullptr);
  for (int level = 0; level < 2; ++level) path.resize(path.find_last_of(L'\\'));
  return path + L"\\" + name;
}

std::wstring SystemProgram(const std::wstring& name) {
  wchar_t folder[MAX_PATH] = {};
  ::GetSystemDirectoryW(folder, MAX_PATH);
  return std::wstring(folder) + L"\\" + name;
}

ToolResult RunProgram(const std::wstring& program, const std::vector<std::wstring>& arguments) {
  Pipe output;
  Pipe errors;
  STARTUPINFOW startup = {};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdOutput = output.writing.Get();
  startup.hStdError = errors.writing.Get();
  PROCESS_INFORMATION process = {};
  std::wstring line = CommandLineOf(program, arguments);
  ToolResult result;
  if (!::CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                        &process)) {
    return {::GetLastError(), {}, "the program cannot be started"};
  }
  const UniqueHandle processHandle(process.hProcess);
  const UniqueHandle threadHandle(process.hThread);
  output.writing.Reset();
  errors.writing.Reset();
  {
    const std::jthread reader([&] { ReadToEnd(output.reading.Get(), result.output); });
    const std::jthread errorReader([&] { ReadToEnd(errors.reading.Get(), result.errors); });
    if (::WaitForSingleObject(process.hProcess, kLimit) != WAIT_OBJECT_0) {
      ::TerminateProcess(process.hProcess, kTookTooLong);
    }
  }
  ::WaitForSingleObject(process.hProcess, kLimit);
  ::GetExitCodeProcess(process.hProcess, &result.exitCode);
  return result;
}

}  // namespace veskard::test
