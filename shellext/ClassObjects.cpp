#include "shellext/ClassObjects.h"

#include "shellext/ClassIds.h"
#include "shellext/contextmenu/ShellContextMenu.h"
#include "shellext/icons/ShellFileIcon.h"
#include "shellext/module/ClassFactory.h"

namespace veskard {
namespace {

using NewFactory = IClassFactory* (*)();

/// A new factory with reference count 0, owned by the caller; throws std::bad_alloc.
template <class T>
IClassFactory* MakeFactory() {
  return new ClassFactory<T>();
}

struct ServedClass {
  GUID classId;
  NewFactory newFactory;
};

// clang-format off
constexpr ServedClass kServedClasses[] = {
    {ClassId(kContextMenuClassUnregistered), &MakeFactory<ShellContextMenu>},
    {ClassId(kFileIconClassUnregistered),    &MakeFactory<ShellFileIcon>},
    {ClassId(kContextMenuClass),             &MakeFactory<ShellContextMenu>},
    {ClassId(kFileIconClass),                &MakeFactory<ShellFileIcon>},
};
// clang-format on

/// Null when the class is not served.
NewFactory FindFactory(REFCLSID classId) noexcept {
  for (const ServedClass& served : kServedClasses)
    if (SameClassId(served.classId, classId)) return served.newFactory;
  return nullptr;
}

}  // namespace

HRESULT GetClassObject(REFCLSID classId, REFIID riid, void** ppv) {
  *ppv = nullptr;
  const NewFactory newFactory = FindFactory(classId);
  if (newFactory == nullptr) return CLASS_E_CLASSNOTAVAILABLE;
  IClassFactory* const factory = newFactory();
  factory->AddRef();
  const HRESULT result = factory->QueryInterface(riid, ppv);
  factory->Release();  // a refused factory goes with this reference
  return result;
}

}  // namespace veskard
