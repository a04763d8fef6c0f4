#include "tools/shellprobe/FirstLevelMenu.h"

#include <objbase.h>

#include "tools/common/ToolError.h"
#include "tools/shellprobe/ProbeExit.h"
#include "tools/shellprobe/ShellItems.h"

namespace veskard {
namespace {

struct TaskMemoryResource {
  using Value = wchar_t*;
  static constexpr Value Invalid() noexcept { return nullptr; }
  static void Close(Value text) noexcept { ::CoTaskMemFree(text); }
};
using TaskText = Owner<TaskMemoryResource>;

using TextQuery = HRESULT (STDMETHODCALLTYPE IExplorerCommand::*)(IShellItemArray*, wchar_t**);

std::wstring AskForText(IExplorerCommand* command, TextQuery query, IShellItemArray* selection) {
  TaskText text;
  const HRESULT result = (command->*query)(selection, text.Out());
  return SUCCEEDED(result) && text ? std::wstring(text.Get()) : std::wstring();
}

std::wstring CanonicalName(IExplorerCommand* command) {
  GUID name = {};
  wchar_t text[40] = {};
  if (FAILED(command->GetCanonicalName(&name))) return {};
  ::StringFromGUID2(name, text, static_cast<int>(std::size(text)));
  return text;
}

// Explorer asks in its own thread first, where nothing slow may be done, and again in the
// background when the answer has to wait.
void AskForState(IExplorerCommand* command, IShellItemArray* selection, FirstLevelItem& item) {
  item.answer = command->GetState(selection, FALSE, &item.state);
  item.askedTwice = item.answer == E_PENDING;
  if (item.askedTwice) item.answer = command->GetState(selection, TRUE, &item.state);
  if (item.answer != S_OK) item.state = ECS_HIDDEN;
}

FirstLevelItem Ask(IExplorerCommand* command, IShellItemArray* selection) {
  FirstLevelItem item;
  AskForState(command, selection, item);
  item.title = AskForText(command, &IExplorerCommand::GetTitle, selection);
  item.icon = AskForText(command, &IExplorerCommand::GetIcon, selection);
  item.canonicalName = CanonicalName(command);
  return item;
}

}  // namespace

const char* FirstLevelStateName(const FirstLevelItem& item) noexcept {
  if (item.IsHidden()) return "hidden";
  return item.IsGreyed() ? "greyed" : "enabled";
}

FirstLevelMenu::FirstLevelMenu(const ExtensionClasses& classes, const std::vector<std::wstring>& paths)
    : selection_(MakeShellItems(paths)) {
  const UniqueCom<IUnknown> object = classes.NewExplorerCommand();
  const HRESULT result = object.Get()->QueryInterface(IID_IExplorerCommand, OutVoid(command_));
  if (FAILED(result))
    throw ToolError(kNotRegistered,
                    "the class does not implement IExplorerCommand (" + HexCode(result) + ")");
  flyOut_ = Ask(command_.Get(), selection_.Get());
  ReadChildren();
}

void FirstLevelMenu::ReadChildren() {
  UniqueCom<IEnumExplorerCommand> list;
  const HRESULT result = command_.Get()->EnumSubCommands(list.Out());
  if (FAILED(result))
    throw ToolError(ExitCode::kFailed, "the fly-out has no children (" + HexCode(result) + ")");
  for (;;) {
    UniqueCom<IExplorerCommand> child;
    ULONG fetched = 0;
    if (list.Get()->Next(1, child.Out(), &fetched) != S_OK) return;
    children_.push_back(Ask(child.Get(), selection_.Get()));
    childCommands_.push_back(std::move(child));
  }
}

size_t FirstLevelMenu::Find(const std::wstring& command) const {
  size_t place = 0;
  for (; place < children_.size(); ++place) {
    if (std::to_wstring(place) == command ||
        ::lstrcmpiW(children_[place].title.c_str(), command.c_str()) == 0)
      break;
  }
  return place;
}

HRESULT FirstLevelMenu::Invoke(size_t child) const {
  return childCommands_[child].Get()->Invoke(selection_.Get(), nullptr);
}

}  // namespace veskard
