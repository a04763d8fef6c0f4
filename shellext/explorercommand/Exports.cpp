// The exports of VeskardExplorerCommand.dll: contract checks and nothing else. They are
// listed in VeskardExplorerCommand.def.
#include <windows.h>

#include "shellext/ClassIds.h"
#include "shellext/ServedClasses.h"
#include "shellext/explorercommand/FlyOut.h"
#include "shellext/module/ClassFactory.h"
#include "shellext/module/ComBoundary.h"
#include "shellext/module/Module.h"

namespace veskard {
namespace {

IClassFactory* NewFlyOutFactory() {
  return new ClassFactory<FlyOut, UnloadedWhenUnused>();
}

constexpr ServedClass kServedClasses[] = {{ClassId(kExplorerCommandClass), &NewFlyOutFactory}};

}  // namespace
}  // namespace veskard

extern "C" {

STDAPI DllGetClassObject(REFCLSID rclsid, REFIID riid, void** ppv) {
  if (ppv == nullptr) return E_POINTER;
  *ppv = nullptr;
  return veskard::ComBoundary([&] {
    veskard::PrepareModule();
    return veskard::GetServedClass(veskard::kServedClasses, rclsid, riid, ppv);
  });
}

/// S_FALSE while anything of the library is in use: a factory or a lock of one, a command,
/// an enumerator, a sender.
STDAPI DllCanUnloadNow() {
  return veskard::ModuleLockCount() == 0 ? S_OK : S_FALSE;
}

}  // extern "C"
