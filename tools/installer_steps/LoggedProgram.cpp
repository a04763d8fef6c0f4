#include "tools/installer_steps/LoggedProgram.h"

#include "core/WindowsOwners.h"
#include "tools/common/ToolError.h"
#include "tools/common/Utf8.h"

namespace veskard {
namespace {

constexpr DWORD kPollInterval = 50;
constexpr size_t kChunk = 4096;

/// A program without a console writes in the system's OEM code page.
std::wstring FromOem(const std::string& bytes) {
  const int size = static_cast<int>(bytes.size());
  std::wstring text(bytes.size(), L'\0');
  const int length = ::MultiByteToWideChar(CP_OEMCP, 0, bytes.data(), size, text.data(), size);
  text.resize(static_cast<size_t>(length));
  return text;
}

/// Cuts what a program prints into lines.
class LineCutter {
 public:
  explicit LineCutter(const LineLog& log) : log_(log) {}

  void Add(const char* bytes, size_t count) {
    for (size_t i = 0; i < count; ++i) {
      if (bytes[i] == '\n') {
        EndLine();
      } else if (bytes[i] != '\r') {
        line_ += bytes[i];
      }
    }
  }

  void EndLine() {
    if (line_.find_first_not_of(' ') != std::string::npos) log_(FromOem(line_));
    line_.clear();
  }

 private:
  const LineLog& log_;
  std::string line_;
};

/// A running program whose output and errors arrive through one pipe.
class PipedProgram {
 public:
  /// The system's error code, 0 when it runs.
  DWORD Start(std::wstring commandLine) {
    SECURITY_ATTRIBUTES inheritable = {sizeof inheritable, nullptr, TRUE};
    UniqueHandle writing;
    if (!::CreatePipe(reading_.Out(), writing.Out(), &inheritable, 0)) return ::GetLastError();
    ::SetHandleInformation(reading_.Get(), HANDLE_FLAG_INHERIT, 0);
    // A program that would read its input finds the end of it.
    const UniqueFile nothing(::CreateFileW(L"NUL", GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                           &inheritable, OPEN_EXISTING, 0, nullptr));
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = nothing.Get();
    startup.hStdOutput = writing.Get();
    startup.hStdError = writing.Get();
    PROCESS_INFORMATION information = {};
    if (!::CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, TRUE, CREATE_NO_WINDOW, nullptr,
                          nullptr, &startup, &information))
      return ::GetLastError();
    process_.Reset(information.hProcess);
    UniqueHandle(information.hThread).Reset();
    return ERROR_SUCCESS;
  }

  /// Whether it ends within this time.
  bool WaitFor(DWORD milliseconds) const {
    return ::WaitForSingleObject(process_.Get(), milliseconds) == WAIT_OBJECT_0;
  }

  /// Takes what is in the pipe. A process that the program has left behind may hold the
  /// pipe's other end for ever: its end is not waited for.
  void Drain(LineCutter& lines) const {
    char bytes[kChunk] = {};
    DWORD waiting = 0;
    DWORD count = 0;
    while (::PeekNamedPipe(reading_.Get(), nullptr, 0, nullptr, &waiting, nullptr) && waiting > 0 &&
           ::ReadFile(reading_.Get(), bytes, sizeof bytes, &count, nullptr))
      lines.Add(bytes, count);
  }

  void Terminate() const { ::TerminateProcess(process_.Get(), ERROR_TIMEOUT); }

  DWORD ExitCode() const {
    DWORD code = 0;
    return ::GetExitCodeProcess(process_.Get(), &code) ? code : ::GetLastError();
  }

 private:
  UniqueHandle reading_;
  UniqueHandle process_;
};

DWORD RunToItsEnd(const PipedProgram& program, DWORD limit, LineCutter& lines) {
  const ULONGLONG begin = ::GetTickCount64();
  while (!program.WaitFor(kPollInterval)) {
    program.Drain(lines);
    if (::GetTickCount64() - begin >= limit) {
      program.Terminate();
      return ERROR_TIMEOUT;
    }
  }
  program.Drain(lines);
  lines.EndLine();
  return program.ExitCode();
}

std::wstring Hex(DWORD code) {
  return FromUtf8(HexCode(static_cast<HRESULT>(code)));
}

}  // namespace

DWORD RunLoggedProgram(const std::wstring& commandLine, DWORD limit, const LineLog& log) {
  PipedProgram program;
  if (const DWORD error = program.Start(commandLine)) {
    log(L"the program could not be started: error " + Hex(error));
    return error;
  }
  LineCutter lines(log);
  const DWORD result = RunToItsEnd(program, limit, lines);
  if (result == ERROR_TIMEOUT) {
    log(L"the program did not end in time");
  } else if (result != ERROR_SUCCESS) {
    log(L"the program ended with " + Hex(result));
  }
  return result;
}

}  // namespace veskard
