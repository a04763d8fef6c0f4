#include "tools/standin_agent/PipeServer.h"

#include <algorithm>
#include <utility>

#include "tools/common/ToolError.h"
#include "tools/common/Utf8.h"

namespace veskard {
namespace {

// As many clients as may come before a thread of ours gets its turn; filled up
// again when half of them are taken, so that a few clients cost nothing.
constexpr size_t kSpareInstances = 64;
constexpr size_t kFewInstances = kSpareInstances / 2;
constexpr DWORD kPieceSize = 64 * 1024;
// Writers of one message each should not wait for the reader; with a reader that
// never reads they should, as soon as possible.
constexpr DWORD kBufferSize = 256 * 1024;
constexpr DWORD kSmallestBuffer = 1;

UniqueFile CreateInstanceOf(const std::wstring& name, bool isFirst, DWORD bufferSize) {
  // The first one must not join a pipe that another agent serves.
  const DWORD access = PIPE_ACCESS_INBOUND | FILE_FLAG_OVERLAPPED |
                       (isFirst ? static_cast<DWORD>(FILE_FLAG_FIRST_PIPE_INSTANCE) : 0);
  return UniqueFile(::CreateNamedPipeW(name.c_str(), access,
                                       PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE | PIPE_WAIT,
                                       PIPE_UNLIMITED_INSTANCES, 0, bufferSize, 0, nullptr));
}

}  // namespace

/// One instance of the pipe with the means to wait for it or for the stop.
class PipeServer::Instance {
 public:
  enum class Outcome { kDone, kMoreData, kFailed, kStopped };

  Instance(HANDLE pipe, HANDLE stop) : pipe_(pipe), stop_(stop) {
    done_.Reset(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
  }

  Outcome Connect() const {
    OVERLAPPED overlapped = NewOverlapped();
    if (::ConnectNamedPipe(pipe_.Get(), &overlapped)) return Outcome::kDone;
    const DWORD error = ::GetLastError();
    // A client that has come and gone already: what it wrote can still be read.
    if (error == ERROR_PIPE_CONNECTED || error == ERROR_NO_DATA) return Outcome::kDone;
    DWORD none = 0;
    return error == ERROR_IO_PENDING ? Finish(overlapped, none) : Outcome::kFailed;
  }

  Outcome Read(char* buffer, DWORD size, DWORD& count) const {
    OVERLAPPED overlapped = NewOverlapped();
    count = 0;
    const BOOL read = ::ReadFile(pipe_.Get(), buffer, size, nullptr, &overlapped);
    const DWORD error = read ? ERROR_SUCCESS : ::GetLastError();
    const bool answered = error == ERROR_SUCCESS || error == ERROR_IO_PENDING || error == ERROR_MORE_DATA;
    return answered ? Finish(overlapped, count) : Outcome::kFailed;
  }

  /// Sends the client away and makes the instance ready for the next one.
  void Disconnect() const { ::DisconnectNamedPipe(pipe_.Get()); }

  void WaitForStop() const { ::WaitForSingleObject(stop_, INFINITE); }
  bool IsStopped() const { return ::WaitForSingleObject(stop_, 0) == WAIT_OBJECT_0; }

 private:
  OVERLAPPED NewOverlapped() const {
    OVERLAPPED overlapped = {};
    overlapped.hEvent = done_.Get();
    return overlapped;
  }

  Outcome Finish(OVERLAPPED& overlapped, DWORD& count) const {
    // The stop comes first: when both have happened nothing more is delivered.
    const HANDLE either[] = {stop_, done_.Get()};
    const bool stopped = ::WaitForMultipleObjects(2, either, FALSE, INFINITE) == WAIT_OBJECT_0;
    if (stopped) ::CancelIoEx(pipe_.Get(), &overlapped);
    const BOOL finished = ::GetOverlappedResult(pipe_.Get(), &overlapped, &count, TRUE);
    if (stopped) return Outcome::kStopped;
    if (finished) return Outcome::kDone;
    return ::GetLastError() == ERROR_MORE_DATA ? Outcome::kMoreData : Outcome::kFailed;
  }

  UniqueFile pipe_;
  HANDLE stop_;
  UniqueHandle done_;
};

PipeServer::PipeServer(PipeServerOptions options)
    : options_(std::move(options)), stop_(::CreateEventW(nullptr, TRUE, FALSE, nullptr)) {
  const std::lock_guard hold(lock_);
  if (!AddInstance()) throw LastSystemError("cannot serve the pipe " + ToUtf8(options_.pipeName));
  FillUp();
}

PipeServer::~PipeServer() {
  StopServing();
  for (std::thread& thread : threads_) thread.join();
}

void PipeServer::StopServing() {
  const std::lock_guard hold(lock_);
  stopping_ = true;
  ::SetEvent(stop_.Get());
}

// Both are called with the lock held, so that the number of waiting instances is exact.
bool PipeServer::AddInstance() {
  UniqueFile pipe = CreateInstanceOf(options_.pipeName, threads_.empty(),
                                     options_.neverReads ? kSmallestBuffer : kBufferSize);
  if (!pipe) return false;
  threads_.emplace_back([this, handle = pipe.Get()] { Serve(handle); });
  static_cast<void>(pipe.Release());  // the thread owns it now
  ++waiting_;
  return true;
}

void PipeServer::FillUp() {
  while (waiting_ < kSpareInstances && AddInstance()) {
  }
}

void PipeServer::Serve(HANDLE pipe) {
  const Instance instance(pipe, stop_.Get());
  while (WaitForClient(instance)) {
    const uint32_t client = ClientArrived();
    if (options_.neverReads) {
      instance.WaitForStop();
    } else {
      ReadMessages(instance, client);
    }
    instance.Disconnect();
    const std::lock_guard hold(lock_);
    ++waiting_;
  }
}

bool PipeServer::WaitForClient(const Instance& instance) {
  while (!instance.IsStopped()) {
    if (instance.Connect() == Instance::Outcome::kDone) return true;
    instance.Disconnect();
  }
  return false;
}

uint32_t PipeServer::ClientArrived() {
  const std::lock_guard hold(lock_);
  --waiting_;
  if (!stopping_ && waiting_ < kFewInstances) FillUp();
  return ++clients_;
}

void PipeServer::ReadMessages(const Instance& instance, uint32_t client) {
  std::vector<char> piece(kPieceSize);
  std::string message;
  for (;;) {
    const auto size = static_cast<DWORD>(std::clamp<size_t>(options_.pieceLimit(), 1, kPieceSize));
    DWORD count = 0;
    const Instance::Outcome outcome = instance.Read(piece.data(), size, count);
    const bool whole = outcome == Instance::Outcome::kDone;
    if (!whole && outcome != Instance::Outcome::kMoreData) return;
    message.append(piece.data(), count);
    AfterReading next = options_.onPiece(count);
    if (next == AfterReading::kGoOn && whole) next = options_.onMessage(client, std::exchange(message, {}));
    if (next == AfterReading::kStopServing) return StopServing();
  }
}

}  // namespace veskard
