#include "tests/support/ToolRun.h"

#include "core/ModuleHandle.h"
#include "fs/util/OpenMode.h"

namespace veskard::test {
namespace {

constexpr DWORD kLimit = 60'000;
constexpr DWORD kTookTooLong = 0xFFFFFFFF;

/// A file that a child writes to and that goes away with this object. No pipe:
/// processes that the child leaves behind may keep its end open for ever.
class OutputFile {
 public:
  OutputFile() {
    wchar_t folder[MAX_PATH] = {};
    wchar_t name[MAX_PATH] = {};
    ::GetTempPathW(MAX_PATH, folder);
    ::GetTempFileNameW(folder, L"out", 0, name);
    SECURITY_ATTRIBUTES inheritable = {sizeof inheritable, nullptr, TRUE};
    file_.Reset(::CreateFileW(name, GENERIC_READ | GENERIC_WRITE | DELETE, kShareEverything, &inheritable,
                              CREATE_ALWAYS, FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE, nullptr));
  }

  HANDLE Handle() const noexcept { return file_.Get(); }

  std::string Text() const {
    ::SetFilePointer(file_.Get(), 0, nullptr, FILE_BEGIN);
    std::string text(::GetFileSize(file_.Get(), nullptr), '\0');
    DWORD count = 0;
    ::ReadFile(file_.Get(), text.data(), static_cast<DWORD>(text.size()), &count, nullptr);
    text.resize(count);
    return text;
  }

 private:
  UniqueFile file_;
};

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
  const OutputFile output;
  const OutputFile errors;
  STARTUPINFOW startup = {};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdOutput = output.Handle();
  startup.hStdError = errors.Handle();
  PROCESS_INFORMATION information = {};
  std::wstring line = CommandLineOf(program, arguments);
  if (!::CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                        &information)) {
    return {::GetLastError(), {}, "the program cannot be started"};
  }
  const UniqueHandle process(information.hProcess);
  const UniqueHandle thread(information.hThread);
  if (::WaitForSingleObject(process.Get(), kLimit) != WAIT_OBJECT_0) {
    ::TerminateProcess(process.Get(), kTookTooLong);
    ::WaitForSingleObject(process.Get(), kLimit);
  }
  ToolResult result = {0, output.Text(), errors.Text()};
  ::GetExitCodeProcess(process.Get(), &result.exitCode);
  return result;
}

}  // namespace veskard::test
