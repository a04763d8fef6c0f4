#include "shellext/contextmenu/AgentMessages.h"

#include <utility>

#include "util/string/CodePage.h"

namespace veskard {
namespace {

std::unique_ptr<BencodedDict> NewMessage(AgentAction action) {
  auto message = std::make_unique<BencodedDict>();
  message->InsertInt("action", static_cast<int32_t>(action));
  return message;
}

/// The paths of a selection as the messages have them.
class SentPaths {
 public:
  SentPaths(const PathList& items, uint32_t count, UniversalNames names)
      : items_(items), count_(count), names_(std::move(names)) {}

  uint32_t Count() const noexcept { return count_; }
  BencValue At(uint32_t index) { return BencValue::FromString(Utf8FromWide(names_.Of(items_.At(index)))); }

 private:
  const PathList& items_;
  uint32_t count_;
  UniversalNames names_;
};

CommandBatch MessageForTheSelection(SentPaths& paths, AgentAction action) {
  BencValue files = BencValue::MakeList();
  for (uint32_t i = 0; i < paths.Count(); ++i) files.Append(paths.At(i));

  auto message = NewMessage(action);
  message->InsertInt("last", 1);
  message->Insert("files", std::move(files));
  CommandBatch batch;
  batch.push_back(std::move(message));
  return batch;
}

CommandBatch MessageForEachItem(SentPaths& paths, AgentAction action) {
  CommandBatch batch;
  for (uint32_t i = 0; i < paths.Count(); ++i) {
    auto message = NewMessage(action);
    message->Insert("path", paths.At(i));
    if (i + 1 == paths.Count()) message->InsertInt("last", 1);
    batch.push_back(std::move(message));
  }
  return batch;
}

}  // namespace

CommandBatch BuildCommandBatch(const PathList& items, uint32_t itemCount, AgentAction action,
                               UniversalNames names) {
  SentPaths paths(items, itemCount, std::move(names));
  return action == AgentAction::kShare ? MessageForTheSelection(paths, action)
                                       : MessageForEachItem(paths, action);
}

}  // namespace veskard
