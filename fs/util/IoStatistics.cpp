#include "fs/util/IoStatistics.h"

#include <windows.h>

namespace veskard {

IoStatistics& IoStatistics::Instance() {
  static IoStatistics statistics;
  return statistics;
}

IoRecord& IoStatistics::RecordOf(uint32_t threadId) {
  const CriticalSectionHold hold(lock_);
  return records_[threadId];
}

void IoStatistics::Count(std::atomic<uint64_t> IoRecord::*counter, uint32_t bytes) {
  if (bytes == 0) return;
  IoRecord& record = RecordOf(::GetCurrentThreadId());
  if (record.paused) {
    const CriticalSectionHold waitForTheReader(record.lock);
  }
  uint32_t never = 0;
  record.firstTick.compare_exchange_strong(never, ::GetTickCount());
  record.*counter += bytes;
}

IoSnapshot IoStatistics::TakeSnapshot(uint32_t threadId) {
  IoRecord* record = nullptr;
  {
    const CriticalSectionHold hold(lock_);
    const auto found = records_.find(threadId);
    if (found == records_.end()) return {};
    record = &found->second;
  }
  const CriticalSectionHold hold(record->lock);
  record->paused = true;
  const IoSnapshot snapshot = {record->bytesWritten, record->bytesRead, record->firstTick};
  record->paused = false;
  return snapshot;
}

}  // namespace veskard
