#include "shellext/ClassObjects.h"

#include "shellext/ClassIds.h"
#include "shellext/ServedClasses.h"

namespace veskard {
namespace {

using NewFactory = IClassFactory* (*)();

struct ServedClass {
  GUID classId;
  NewFactory newFactory;
};

// clang-format off
constexpr ServedClass kServedClasses[] = {
    {ClassId(kContextMenuClassUnregistered), &NewContextMenuFactory},
    {ClassId(kFileIconClassUnregistered),    &NewFileIconFactory},
    {ClassId(kContextMenuClass),             &NewContextMenuFactory},
    {ClassId(kFileIconClass),                &NewFileIconFactory},
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
