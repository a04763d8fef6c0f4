#include "tools/standin_agent/StandinAgent.h"

#include <algorithm>
#include <utility>

#include "tools/common/ToolError.h"
#include "tools/common/Utf8.h"
#include "tools/standin_agent/AgentMessage.h"

namespace veskard {

StandinAgent::StandinAgent(Options options) : options_(std::move(options)) {
  if (!options_.faults.withoutPipe) {
    server_ = std::make_unique<PipeServer>(PipeServerOptions{
        .pipeName = Endpoint().pipe,
        .neverReads = options_.faults.neverReads,
        .pieceLimit = [this] { return PieceLimit(); },
        .onPiece = [this](size_t bytes) { return TakePiece(bytes); },
        .onMessage = [this](uint32_t client,
                            std::string bytes) { return TakeMessage(client, std::move(bytes)); },
    });
  }
  if (!options_.faults.withoutMutex) Announce();
}

StandinAgent::~StandinAgent() {
  // The announcement goes first, as a client would see an agent end.
  const std::lock_guard hold(lock_);
  mutex_.Reset();
}

void StandinAgent::Announce() {
  UniqueHandle mutex(::CreateMutexW(nullptr, FALSE, Endpoint().mutex));
  const DWORD error = ::GetLastError();
  if (!mutex) throw SystemError("cannot make the mutex " + ToUtf8(Endpoint().mutex), error);
  if (error == ERROR_ALREADY_EXISTS) {
    throw ToolError(ExitCode::kFailed, std::string("a ") + Endpoint().title + " is running already");
  }
  const std::lock_guard hold(lock_);
  if (!dead_) mutex_ = std::move(mutex);
}

size_t StandinAgent::PieceLimit() const {
  if (!options_.faults.diesAfterBytes) return SIZE_MAX;
  const std::lock_guard hold(lock_);
  return static_cast<size_t>(*options_.faults.diesAfterBytes -
                             std::min(bytes_, *options_.faults.diesAfterBytes));
}

AfterReading StandinAgent::TakePiece(size_t bytes) {
  const std::lock_guard hold(lock_);
  bytes_ += bytes;
  const bool dies = options_.faults.diesAfterBytes && bytes_ >= *options_.faults.diesAfterBytes;
  return dies ? Die() : AfterReading::kGoOn;
}

AfterReading StandinAgent::TakeMessage(uint32_t client, std::string bytes) {
  const bool last = DecodeMessage(bytes).last;
  const std::lock_guard hold(lock_);
  if (dead_) return AfterReading::kStopServing;
  messages_.push_back({client, std::move(bytes)});
  if (last) ++batches_;
  if (options_.onMessage) options_.onMessage(static_cast<uint32_t>(messages_.size()), messages_.back());
  changed_.notify_all();
  const bool dies =
      options_.faults.diesAfterMessages && messages_.size() >= *options_.faults.diesAfterMessages;
  return dies ? Die() : AfterReading::kGoOn;
}

// Called with the lock held.
AfterReading StandinAgent::Die() {
  dead_ = true;
  mutex_.Reset();
  changed_.notify_all();
  return AfterReading::kStopServing;
}

template <class Condition>
bool StandinAgent::WaitFor(Duration limit, Condition condition) {
  std::unique_lock hold(lock_);
  changed_.wait_for(hold, limit, [&] { return condition() || dead_ || stopWaiting_; });
  return condition();
}

bool StandinAgent::WaitForMessages(size_t count, Duration limit) {
  return WaitFor(limit, [&] { return messages_.size() >= count; });
}

bool StandinAgent::WaitForBatches(size_t count, Duration limit) {
  return WaitFor(limit, [&] { return batches_ >= count; });
}

void StandinAgent::StopWaiting() {
  const std::lock_guard hold(lock_);
  stopWaiting_ = true;
  changed_.notify_all();
}

bool StandinAgent::IsDead() const {
  const std::lock_guard hold(lock_);
  return dead_;
}

std::vector<ReceivedMessage> StandinAgent::Messages() const {
  const std::lock_guard hold(lock_);
  return messages_;
}

}  // namespace veskard
