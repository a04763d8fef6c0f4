// PipeServer: the agent's end of the command pipe.
#pragma once

#include <windows.h>

#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "core/WindowsOwners.h"

namespace veskard {

/// What to do after bytes have been read: go on, or close the whole pipe under
/// every client at once.
enum class AfterReading { kGoOn, kStopServing };

struct PipeServerOptions {
  std::wstring pipeName;
  /// Accept clients but never read from them; what the pipe buffers is all they can write.
  bool neverReads = false;
  /// At most so many bytes are read next; and what is called with every piece
  /// read, before it is joined to a message. They let a test end the agent in
  /// the middle of one.
  std::function<size_t()> pieceLimit;
  std::function<AfterReading(size_t bytes)> onPiece;
  /// Called with every whole message; `client` counts connections from 1.
  std::function<AfterReading(uint32_t client, std::string message)> onMessage;
};

/// Serves a message-mode pipe to any number of clients at once, each instance of
/// it on a thread of its own. There are always several instances waiting, since
/// a client that finds none gives up. The callbacks come from those threads,
/// several at a time.
class PipeServer {
 public:
  /// The pipe exists when the constructor returns. Throws ToolError when it
  /// cannot be made.
  explicit PipeServer(PipeServerOptions options);

  /// Closes every instance under its client and joins the threads.
  ~PipeServer();
  PipeServer(const PipeServer&) = delete;
  PipeServer& operator=(const PipeServer&) = delete;

 private:
  class Instance;

  bool AddInstance();
  void FillUp();
  void Serve(HANDLE pipe);
  bool WaitForClient(const Instance& instance);
  void ReadMessages(const Instance& instance, uint32_t client);
  uint32_t ClientArrived();
  void StopServing();

  PipeServerOptions options_;
  UniqueHandle stop_;  // manual-reset event: all threads end
  std::mutex lock_;    // guards what follows
  uint32_t clients_ = 0;
  size_t waiting_ = 0;
  bool stopping_ = false;
  std::vector<std::thread> threads_;
};

}  // namespace veskard
