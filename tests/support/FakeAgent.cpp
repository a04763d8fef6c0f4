#include "tests/support/FakeAgent.h"

namespace veskard::test {
namespace {

// Written here once more, and not taken from the library: the tests are to notice
// when the library's names change.
const wchar_t* MutexName(AgentKind kind) {
  return kind == AgentKind::kUser ? L"Local\\pipesynccmd_SIT" : L"Global\\pipesynccmd_SIT";
}
const wchar_t* PipeName(AgentKind kind) {
  return kind == AgentKind::kUser ? L"\\\\.\\pipe\\synccmd_SIT" : L"\\\\.\\pipe\\syncsvccmd_SIT";
}

// Finishes an operation on `pipe` unless `stop` is set meanwhile. False also
// when the operation fails; the reason is the thread's last error.
bool Finish(HANDLE pipe, OVERLAPPED& operation, HANDLE stop, DWORD& size) {
  const HANDLE either[] = {stop, operation.hEvent};
  if (::WaitForMultipleObjects(2, either, FALSE, INFINITE) == WAIT_OBJECT_0) {
    ::CancelIo(pipe);
    ::GetOverlappedResult(pipe, &operation, &size, TRUE);
    ::SetLastError(ERROR_OPERATION_ABORTED);
    return false;
  }
  return ::GetOverlappedResult(pipe, &operation, &size, FALSE) != FALSE;
}

bool TakeClient(HANDLE pipe, HANDLE stop, HANDLE done) {
  OVERLAPPED operation = {};
  operation.hEvent = done;
  DWORD size = 0;
  if (::ConnectNamedPipe(pipe, &operation)) return true;
  switch (::GetLastError()) {
    case ERROR_PIPE_CONNECTED:
    case ERROR_NO_DATA:  // come and gone already: what it wrote can still be read
      return true;
    case ERROR_IO_PENDING:
      return Finish(pipe, operation, stop, size);
    default:
      return false;
  }
}

// Reads up to one message; ERROR_MORE_DATA when it is not the whole of it.
bool ReadPart(HANDLE pipe, HANDLE stop, HANDLE done, std::string& message) {
  char part[65536];
  OVERLAPPED operation = {};
  operation.hEvent = done;
  DWORD size = 0;
  ::SetLastError(ERROR_SUCCESS);
  bool read = ::ReadFile(pipe, part, sizeof(part), nullptr, &operation) != FALSE;
  const DWORD error = ::GetLastError();
  if (read || error == ERROR_IO_PENDING) {
    read = Finish(pipe, operation, stop, size);
  } else if (error == ERROR_MORE_DATA) {
    read = ::GetOverlappedResult(pipe, &operation, &size, TRUE) != FALSE;
  } else {
    return false;
  }
  message.append(part, size);
  return read;
}

std::optional<std::string> ReadMessage(HANDLE pipe, HANDLE stop, HANDLE done) {
  std::string message;
  while (!ReadPart(pipe, stop, done, message)) {
    if (::GetLastError() != ERROR_MORE_DATA) return std::nullopt;
  }
  return message;
}

}  // namespace

FakeAgentMutex::FakeAgentMutex(AgentKind kind) : mutex_(::CreateMutexW(nullptr, FALSE, MutexName(kind))) {}

FakeAgent::FakeAgent(AgentKind kind, Reading reading)
    : kind_(kind), reading_(reading), stop_(::CreateEventW(nullptr, TRUE, FALSE, nullptr)), mutex_(kind) {
  const int clients = reading == Reading::kAll ? 4 : 1;
  for (int i = 0; i < clients; ++i) {
    servers_.emplace_back([this, pipe = NewPipe()]() mutable { Serve(std::move(pipe)); });
  }
}

FakeAgent::~FakeAgent() {
  ::SetEvent(stop_.Get());
  for (std::thread& server : servers_) server.join();
}

std::optional<PipeMessages> FakeAgent::NextBatch(std::chrono::milliseconds patience) {
  std::unique_lock hold(lock_);
  if (!changed_.wait_for(hold, patience, [&] { return !batches_.empty(); })) return std::nullopt;
  PipeMessages batch = std::move(batches_.front());
  batches_.pop_front();
  return batch;
}

bool FakeAgent::WaitForClient(std::chrono::milliseconds patience) {
  std::unique_lock hold(lock_);
  return changed_.wait_for(hold, patience, [&] { return hasClient_; });
}

UniqueFile FakeAgent::NewPipe() const {
  const DWORD bufferSize = reading_ == Reading::kAll ? 65536 : 1;
  return UniqueFile(::CreateNamedPipeW(PipeName(kind_), PIPE_ACCESS_INBOUND | FILE_FLAG_OVERLAPPED,
                                       PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE | PIPE_WAIT,
                                       PIPE_UNLIMITED_INSTANCES, bufferSize, bufferSize, 0, nullptr));
}

void FakeAgent::Serve(UniqueFile pipe) {
  const UniqueHandle done(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
  while (TakeClient(pipe.Get(), stop_.Get(), done.Get())) {
    NoteClient();
    if (reading_ == Reading::kNothing) {
      ::WaitForSingleObject(stop_.Get(), INFINITE);
      return;
    }
    PipeMessages messages = ReadMessages(pipe.Get(), done.Get());
    pipe = NewPipe();
    NoteBatch(std::move(messages));
  }
}

PipeMessages FakeAgent::ReadMessages(HANDLE pipe, HANDLE done) const {
  PipeMessages messages;
  while (auto message = ReadMessage(pipe, stop_.Get(), done)) messages.push_back(*std::move(message));
  return messages;
}

void FakeAgent::NoteClient() {
  const std::lock_guard hold(lock_);
  hasClient_ = true;
  changed_.notify_all();
}

void FakeAgent::NoteBatch(PipeMessages messages) {
  const std::lock_guard hold(lock_);
  batches_.push_back(std::move(messages));
  changed_.notify_all();
}

}  // namespace veskard::test
