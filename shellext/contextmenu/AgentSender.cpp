#include "shellext/contextmenu/AgentSender.h"

#include <memory>
#include <system_error>
#include <utility>

#include "benc/BencWriter.h"
#include "core/ModuleHandle.h"
#include "core/WindowsOwners.h"
#include "shellext/contextmenu/AgentStarter.h"
#include "shellext/module/Module.h"
#include "util/string/ByteBuilder.h"

namespace veskard {
namespace {

constexpr size_t kFirstMessageCapacity = 4096;

// What the new thread receives and owns. The module counts as used before the thread runs.
struct SenderTask {
  ModuleReference moduleReference;
  std::wstring pipeName;
  CommandBatch batch;
  UniqueModule self;
};

[[noreturn]] void ThrowLastError() {
  throw std::system_error(static_cast<int>(::GetLastError()), std::system_category());
}

// One write, one message of the pipe. A failed write is no reason to stop: the
// next message is offered all the same.
void WriteMessage(HANDLE pipe, const BencodedDict& message, ByteBuilder& bytes) {
  bytes.Clear();
  WriteBencoded(bytes, message);
  if (bytes.Length() == 0) return;
  DWORD written = 0;
  ::WriteFile(pipe, bytes.Data(), static_cast<DWORD>(bytes.Length()), &written, nullptr);
}

void WriteBatch(const std::wstring& pipeName, const CommandBatch& batch) {
  // Taken before the agent hears of it: out of memory, it gets nothing rather than half.
  ByteBuilder bytes(kFirstMessageCapacity);
  const UniqueFile pipe(
      ::CreateFileW(pipeName.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr));
  if (!pipe) return;
  DWORD mode = PIPE_READMODE_MESSAGE;
  if (!::SetNamedPipeHandleState(pipe.Get(), &mode, nullptr, nullptr)) return;
  for (const auto& message : batch) WriteMessage(pipe.Get(), *message, bytes);
}

// Runs the task and frees everything of it but the module, which it returns.
HMODULE RunTask(std::unique_ptr<SenderTask> task) noexcept {
  try {
    AgentSenderThread(std::move(task->pipeName), std::move(task->batch));
  } catch (...) {
    // Out of memory: the command is lost, the host lives on.
  }
  return task->self.Release();
}

// Two statements: everything that the first one made is destroyed before the
// second gives up the module and the thread in one call. Once the reference is
// gone, this code may be gone too.
DWORD WINAPI SenderEntry(void* parameter) noexcept {
  const HMODULE self = RunTask(std::unique_ptr<SenderTask>(static_cast<SenderTask*>(parameter)));
  ::FreeLibraryAndExitThread(self, 0);
}

}  // namespace

void StartAgentSender(std::wstring pipeName, CommandBatch batch) {
  UniqueModule self = ReferenceToThisModule();
  if (!self) ThrowLastError();
  std::unique_ptr<SenderTask> task(
      new SenderTask{{}, std::move(pipeName), std::move(batch), std::move(self)});
  const UniqueHandle thread(::CreateThread(nullptr, 0, &SenderEntry, task.get(), 0, nullptr));
  if (!thread) ThrowLastError();
  static_cast<void>(task.release());  // the thread's now
}

void AgentSenderThread(std::wstring pipeName, CommandBatch batch) {
  const LogSwitchReader logSwitch;
  if (pipeName.empty()) pipeName = StartUserAgent();
  if (!pipeName.empty()) WriteBatch(pipeName, batch);
}

}  // namespace veskard
