// The bytes that each thread has read and written through handles that count.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <map>

#include "core/CriticalSection.h"

namespace veskard {

/// The counters of one thread. They change by atomic addition, without the lock.
struct IoRecord {
  CriticalSection lock;
  /// Set while a thread reads the record: a thread that is about to count then
  /// waits for the lock first.
  std::atomic<bool> paused = false;
  std::atomic<uint64_t> bytesWritten = 0;
  std::atomic<uint64_t> bytesRead = 0;
  /// Milliseconds (`GetTickCount`) of the first counted transfer, 0 before it.
  std::atomic<uint32_t> firstTick = 0;
  // Room that the agent's core reserves; empty, and nothing here reads it.
  std::map<uint32_t, uint64_t> reserved;
  std::array<uint32_t, 4> reservedWords = {};
};

/// The values of a record at one moment.
struct IoSnapshot {
  uint64_t bytesWritten = 0;
  uint64_t bytesRead = 0;
  uint32_t firstTick = 0;
};

/// The process-wide records by thread id. Any thread may call any member. A record,
/// once created, keeps its address until the process ends.
class IoStatistics {
 public:
  static IoStatistics& Instance();

  /// The thread's record, made when there is none. Throws std::bad_alloc only.
  IoRecord& RecordOf(uint32_t threadId);

  /// Counts a transfer of the calling thread; 0 bytes count nothing, and make no
  /// record either.
  void CountRead(uint32_t bytes) { Count(&IoRecord::bytesRead, bytes); }
  void CountWritten(uint32_t bytes) { Count(&IoRecord::bytesWritten, bytes); }

  /// A reading of one thread's record. Counting that begins meanwhile waits; a
  /// transfer that had found no pause just before may still land between two of the
  /// values. All zero for a thread without a record.
  IoSnapshot TakeSnapshot(uint32_t threadId);

 private:
  void Count(std::atomic<uint64_t> IoRecord::*counter, uint32_t bytes);

  CriticalSection lock_;  // guards the map, for a look-up or an insertion only
  std::map<uint32_t, IoRecord> records_;
};

}  // namespace veskard
