// A host that is done with COM while a command's sender still waits for the agent.
// Chooses a command, lets go of everything that COM has given it, and ends when the
// sender has. Exit code 42; other codes say what was wrong.
#include <windows.h>
// The shell's headers need the basic types first.
#include <shlobj.h>

#include "shellext/ClassIds.h"
#include "tools/shellprobe/ThreadWatch.h"

namespace {

bool IsLoaded() {
  return ::GetModuleHandleW(L"VeskardShellExt.dll") != nullptr;
}

bool Choose() {
  IContextMenu* menu = nullptr;
  if (FAILED(::CoCreateInstance(veskard::ClassId(5), nullptr, CLSCTX_INPROC_SERVER, IID_IContextMenu,
                                reinterpret_cast<void**>(&menu))))
    return false;
  CMINVOKECOMMANDINFO info = {};
  info.cbSize = sizeof(info);
  info.lpVerb = MAKEINTRESOURCEA(1);
  const HRESULT result = menu->InvokeCommand(&info);
  menu->Release();
  return result == S_OK;
}

}  // namespace

int main() {
  ::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  const veskard::ThreadWatch senders;
  if (!Choose()) return 1;
  if (senders.WaitForNewThreads(std::chrono::milliseconds(300))) return 5;  // nobody waits for the agent
  for (int i = 0; i < 3; ++i) ::CoFreeUnusedLibrariesEx(0, 0);
  if (!IsLoaded()) return 2;
  ::CoUninitialize();
  if (!IsLoaded()) return 3;
  const HANDLE agentMayGo = ::OpenEventW(EVENT_MODIFY_STATE, FALSE, L"Local\\veskard-com-host");
  ::SetEvent(agentMayGo);
  return senders.WaitForNewThreads(std::chrono::seconds(20)) ? 42 : 4;
}
