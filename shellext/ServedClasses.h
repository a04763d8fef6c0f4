// ServedClasses: which factory of a library serves which class identifier.
#pragma once

#include <unknwn.h>

#include <span>

namespace veskard {

/// A class that a library serves.
struct ServedClass {
  GUID classId;
  /// A new factory with reference count 0, owned by the caller; throws std::bad_alloc.
  IClassFactory* (*newFactory)();
};

/// A new class factory for the class, behind the interface asked for, with one
/// reference that the caller owns. CLASS_E_CLASSNOTAVAILABLE for an identifier
/// that is not served, E_NOINTERFACE for any interface but IUnknown and
/// IClassFactory; *ppv is then null. Throws std::bad_alloc only.
HRESULT GetServedClass(std::span<const ServedClass> served, REFCLSID classId, REFIID riid, void** ppv);

}  // namespace veskard
