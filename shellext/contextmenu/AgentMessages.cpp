#include "shellext/contextmenu/AgentMessages.h"

#include <utility>

#include "shellext/contextmenu/UniversalName.h"
#include "util/string/CodePage.h"

namespace veskard {
namespace {

std::unique_ptr<BencodedDict> NewMessage(AgentAction action) {
  auto message = std::make_unique<BencodedDict>();
  message->InsertInt("action", static_cast<int32_t>(action));
  return message;
}

BencValue PathOfItem(const PathList& items, uint32_t index) {
  return BencValue::FromString(Utf8FromWide(ToUniversalName(items.At(index))));
}

CommandBatch MessageForTheSelection(const PathList& items, uint32_t itemCount, AgentAction action) {
  BencValue files = BencValue::MakeList();
  for (uint32_t i = 0; i < itemCount; ++i) files.Append(PathOfItem(items, i));

  auto message = NewMessage(action);
  message->InsertInt("last", 1);
  message->Insert("files", std::move(files));
  CommandBatch batch;
  batch.push_back(std::move(message));
  return batch;
}

CommandBatch MessageForEachItem(const PathList& items, uint32_t itemCount, AgentAction action) {
  CommandBatch batch;
  for (uint32_t i = 0; i < itemCount; ++i) {
    auto message = NewMessage(action);
    message->Insert("path", PathOfItem(items, i));
    if (i + 1 == itemCount) message->InsertInt("last", 1);
    batch.push_back(std::move(message));
  }
  return batch;
}

}  // namespace

CommandBatch BuildCommandBatch(const PathList& items, uint32_t itemCount, AgentAction action) {
  return action == AgentAction::kShare ? MessageForTheSelection(items, itemCount, action)
                                       : MessageForEachItem(items, itemCount, action);
}

}  // namespace veskard
