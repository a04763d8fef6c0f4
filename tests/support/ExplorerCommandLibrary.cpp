#include "tests/support/ExplorerCommandLibrary.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "core/ModuleHandle.h"
#include "core/TaskMemory.h"
#include "shellext/ClassIds.h"

namespace veskard::test {
namespace {

template <class Function>
void Resolve(HMODULE module, Function*& function, const char* name) {
  function = reinterpret_cast<Function*>(reinterpret_cast<void*>(::GetProcAddress(module, name)));
  EXPECT_NE(function, nullptr) << name;
}

char LetterOf(EXPCMDSTATE state, char letter) {
  EXPECT_TRUE(state == ECS_ENABLED || state == ECS_DISABLED) << state;
  return state == ECS_DISABLED ? static_cast<char>(letter | 0x20) : letter;
}

bool IsLoaded(HMODULE module) {
  HMODULE found = nullptr;
  return ::GetModuleHandleExW(
             GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
             reinterpret_cast<const wchar_t*>(module), &found) != FALSE;
}

}  // namespace

std::wstring ExplorerCommandLibraryPath() {
  const std::filesystem::path test = ReadModulePath(nullptr);
  return (test.parent_path().parent_path() / L"VeskardExplorerCommand.dll").wstring();
}

ExplorerCommandLibrary::ExplorerCommandLibrary(const std::wstring& path)
    : module_(::LoadLibraryW(path.c_str())) {
  EXPECT_TRUE(module_) << "error " << ::GetLastError();
  Resolve(module_.Get(), getClassObject_, "DllGetClassObject");
  Resolve(module_.Get(), canUnloadNow_, "DllCanUnloadNow");
}

void ExplorerCommandLibrary::UnloadWhole() {
  const HMODULE module = module_.Get();
  if (module == nullptr) return;
  Unload();
  for (int i = 0; i < 1000 && IsLoaded(module); ++i) ::Sleep(10);
  EXPECT_FALSE(IsLoaded(module));
}

UniqueCom<IClassFactory> ExplorerCommandLibrary::Factory() const {
  UniqueCom<IClassFactory> factory;
  EXPECT_EQ(DllGetClassObject(ClassId(kExplorerCommandClass), IID_IClassFactory,
                              reinterpret_cast<void**>(factory.Out())),
            S_OK);
  return factory;
}

ExplorerCommandPointer ExplorerCommandLibrary::NewFlyOut() const {
  ExplorerCommandPointer flyOut;
  EXPECT_EQ(
      Factory().Get()->CreateInstance(nullptr, IID_IExplorerCommand, reinterpret_cast<void**>(flyOut.Out())),
      S_OK);
  return flyOut;
}

std::vector<ExplorerCommandPointer> ChildrenOf(IExplorerCommand& flyOut) {
  UniqueCom<IEnumExplorerCommand> enumerator;
  EXPECT_EQ(flyOut.EnumSubCommands(enumerator.Out()), S_OK);
  std::vector<ExplorerCommandPointer> children;
  IExplorerCommand* child = nullptr;
  while (enumerator && enumerator.Get()->Next(1, &child, nullptr) == S_OK) children.emplace_back(child);
  return children;
}

EXPCMDSTATE StateOf(IExplorerCommand& command, IShellItemArray* selection) {
  EXPCMDSTATE state = ECS_CHECKED;
  const HRESULT result = command.GetState(selection, TRUE, &state);
  EXPECT_EQ(result, S_OK);
  return result == S_OK ? state : EXPCMDSTATE{ECS_CHECKED};
}

std::string FirstMenuLetters(IExplorerCommand& flyOut, IShellItemArray* selection) {
  const EXPCMDSTATE state = StateOf(flyOut, selection);
  std::string letters;
  const auto children = ChildrenOf(flyOut);
  EXPECT_EQ(children.size(), 4u);
  for (size_t i = 0; i < children.size(); ++i) {
    const EXPCMDSTATE child = StateOf(*children[i].Get(), selection);
    if (child != ECS_HIDDEN) letters += LetterOf(child, "SCRA"[i]);
  }
  EXPECT_EQ(state, letters.empty() ? ECS_HIDDEN : ECS_ENABLED) << letters;
  return letters;
}

std::wstring TextOf(IExplorerCommand& command,
                    HRESULT (STDMETHODCALLTYPE IExplorerCommand::*method)(IShellItemArray*, wchar_t**),
                    IShellItemArray* selection) {
  UniqueTaskString text;
  EXPECT_EQ((command.*method)(selection, text.Out()), S_OK);
  return text ? text.Get() : L"";
}

}  // namespace veskard::test
