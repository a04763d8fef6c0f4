// StandinAgent: the part of an agent that its clients see.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "core/WindowsOwners.h"
#include "tools/standin_agent/AgentEndpoint.h"
#include "tools/standin_agent/PipeServer.h"

namespace veskard {

/// One message as it came out of the pipe.
struct ReceivedMessage {
  uint32_t client = 0;  // which connection, from 1; a command has one of its own
  std::string bytes;
};

/// Faults of an agent, for tests of its clients.
struct AgentFaults {
  bool withoutMutex = false;  // the pipe is there, the announcement is not
  bool withoutPipe = false;   // the announcement is there, the pipe is not
  bool neverReads = false;    // clients connect and wait without end
  /// Dies, pipe and mutex at once, after so many whole messages, or after so
  /// many bytes of any clients' messages, in the middle of one if it falls there.
  std::optional<uint64_t> diesAfterMessages = {};
  std::optional<uint64_t> diesAfterBytes = {};
};

/// Serves the pipe, and holds the mutex that announces it, from construction to
/// destruction (or its planned death). Keeps every message. All members may be
/// called from any thread.
class StandinAgent {
 public:
  using Duration = std::chrono::milliseconds;

  struct Options {
    AgentKind kind = AgentKind::kService;
    AgentFaults faults = {};
    /// Called for every message, one at a time, from the pipe's threads.
    std::function<void(uint32_t number, const ReceivedMessage&)> onMessage = {};
  };

  /// The pipe waits for clients when this returns. Throws ToolError when an
  /// agent of this kind is there already or the system refuses.
  explicit StandinAgent(Options options);
  StandinAgent() : StandinAgent(Options{}) {}
  ~StandinAgent();
  StandinAgent(const StandinAgent&) = delete;
  StandinAgent& operator=(const StandinAgent&) = delete;

  const AgentEndpoint& Endpoint() const noexcept { return EndpointOf(options_.kind); }

  /// Waits until so many messages have come in all; false when the time runs
  /// out or the agent dies first.
  bool WaitForMessages(size_t count, Duration limit);

  /// The same for batches: messages that carry "last".
  bool WaitForBatches(size_t count, Duration limit);

  /// Ends all waiting; for a handler of Ctrl+C.
  void StopWaiting();

  bool IsDead() const;
  std::vector<ReceivedMessage> Messages() const;

 private:
  void Announce();
  size_t PieceLimit() const;
  AfterReading TakePiece(size_t bytes);
  AfterReading TakeMessage(uint32_t client, std::string bytes);
  AfterReading Die();
  template <class Condition>
  bool WaitFor(Duration limit, Condition condition);

  Options options_;
  mutable std::mutex lock_;  // guards what follows, but not the server
  std::condition_variable changed_;
  std::vector<ReceivedMessage> messages_;
  size_t batches_ = 0;
  uint64_t bytes_ = 0;
  bool dead_ = false;
  bool stopWaiting_ = false;
  UniqueHandle mutex_;

  // Last, so that its threads end before the rest goes.
  std::unique_ptr<PipeServer> server_;
};

}  // namespace veskard
