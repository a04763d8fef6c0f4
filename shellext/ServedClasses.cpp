#include "shellext/ServedClasses.h"

#include <algorithm>

#include "shellext/ClassIds.h"

namespace veskard {

HRESULT GetServedClass(std::span<const ServedClass> served, REFCLSID classId, REFIID riid, void** ppv) {
  *ppv = nullptr;
  const auto found = std::find_if(served.begin(), served.end(), [&](const ServedClass& candidate) {
    return SameClassId(candidate.classId, classId);
  });
  if (found == served.end()) return CLASS_E_CLASSNOTAVAILABLE;
  IClassFactory* const factory = found->newFactory();
  factory->AddRef();
  const HRESULT result = factory->QueryInterface(riid, ppv);
  factory->Release();  // a refused factory goes with this reference
  return result;
}

}  // namespace veskard
