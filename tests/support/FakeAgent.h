// An agent for tests: the mutex, the pipe, and what arrives through it.
#pragma once

#include <windows.h>

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "core/WindowsOwners.h"

namespace veskard::test {

enum class AgentKind { kUser, kService };

/// The mutex alone, as an agent holds it while its pipe is open.
class FakeAgentMutex {
 public:
  explicit FakeAgentMutex(AgentKind kind);

 private:
  UniqueHandle mutex_;
};

/// The messages of one client, from connecting to disconnecting.
using PipeMessages = std::vector<std::string>;

/// A running agent: takes clients and keeps each one's messages.
class FakeAgent {
 public:
  enum class Reading {
    kAll,      // four clients at a time
    kNothing,  // takes one client and never reads: its first write waits
  };

  explicit FakeAgent(AgentKind kind, Reading reading = Reading::kAll);
  /// Ends the agent as a crash would: pipes and mutex are gone at once.
  ~FakeAgent();
  FakeAgent(const FakeAgent&) = delete;
  FakeAgent& operator=(const FakeAgent&) = delete;

  /// The messages of the next client that disconnects; nothing when none does within that
  /// time. The agent is then ready for another client.
  std::optional<PipeMessages> NextBatch(std::chrono::milliseconds patience = std::chrono::seconds(10));

  /// Whether a client connects within that time.
  bool WaitForClient(std::chrono::milliseconds patience = std::chrono::seconds(10));

 private:
  UniqueFile NewPipe() const;
  void Serve(UniqueFile pipe);
  PipeMessages ReadMessages(HANDLE pipe, HANDLE done) const;
  void NoteClient();
  void NoteBatch(PipeMessages messages);

  AgentKind kind_;
  Reading reading_;
  UniqueHandle stop_;
  std::mutex lock_;
  std::condition_variable changed_;
  bool hasClient_ = false;
  std::deque<PipeMessages> batches_;
  std::vector<std::thread> servers_;
  FakeAgentMutex mutex_;
};

}  // namespace veskard::test
