#include "shellext/ClassObjects.h"

#include "shellext/ClassIds.h"
#include "shellext/ServedClasses.h"
#include "shellext/contextmenu/ShellContextMenu.h"
#include "shellext/icons/ShellFileIcon.h"
#include "shellext/module/ClassFactory.h"

namespace veskard {
namespace {

template <class T>
IClassFactory* MakeFactory() {
  return new ClassFactory<T>();
}

// clang-format off
constexpr ServedClass kServedClasses[] = {
    {ClassId(kContextMenuClassUnregistered), &MakeFactory<ShellContextMenu>},
    {ClassId(kFileIconClassUnregistered),    &MakeFactory<ShellFileIcon>},
    {ClassId(kContextMenuClass),             &MakeFactory<ShellContextMenu>},
    {ClassId(kFileIconClass),                &MakeFactory<ShellFileIcon>},
};
// clang-format on

}  // namespace

HRESULT GetClassObject(REFCLSID classId, REFIID riid, void** ppv) {
  return GetServedClass(kServedClasses, classId, riid, ppv);
}

}  // namespace veskard
