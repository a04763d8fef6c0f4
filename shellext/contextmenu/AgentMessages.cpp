#include "shellext/contextmenu/AgentMessages.h"

#include <utility>

#include "shellext/contextmenu/DropNames.h"
#include "shellext/contextmenu/UniversalName.h"
#include "util/string/CodePage.h"

namespace veskard {
namespace {

// Room for the longest path that the system knows, 32767 characters, and then some.
constexpr uint32_t kItemNameSize = 32771;

std::unique_ptr<BencodedDict> NewMessage(AgentAction action) {
  auto message = std::make_unique<BencodedDict>();
  message->InsertInt("action", static_cast<int32_t>(action));
  return message;
}

BencValue PathOfItem(DropNames& names, uint32_t index) {
  return BencValue::FromString(Utf8FromWide(ToUniversalName(names.At(index))));
}

CommandBatch MessageForTheSelection(DropNames& names, uint32_t itemCount, AgentAction action) {
  BencValue files = BencValue::MakeList();
  for (uint32_t i = 0; i < itemCount; ++i) files.Append(PathOfItem(names, i));

  auto message = NewMessage(action);
  message->InsertInt("last", 1);
  message->Insert("files", std::move(files));
  CommandBatch batch;
  batch.push_back(std::move(message));
  return batch;
}

CommandBatch MessageForEachItem(DropNames& names, uint32_t itemCount, AgentAction action) {
  CommandBatch batch;
  for (uint32_t i = 0; i < itemCount; ++i) {
    auto message = NewMessage(action);
    message->Insert("path", PathOfItem(names, i));
    if (i + 1 == itemCount) message->InsertInt("last", 1);
    batch.push_back(std::move(message));
  }
  return batch;
}

}  // namespace

CommandBatch BuildCommandBatch(HDROP drop, uint32_t itemCount, AgentAction action) {
  DropNames names(drop, kItemNameSize);
  return action == AgentAction::kShare ? MessageForTheSelection(names, itemCount, action)
                                       : MessageForEachItem(names, itemCount, action);
}

}  // namespace veskard
