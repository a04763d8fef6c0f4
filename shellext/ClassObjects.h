// Which factory serves which class identifier.
#pragma once

#include <unknwn.h>

namespace veskard {

/// A new class factory for the class, behind the interface asked for, with one
/// reference that the caller owns. CLASS_E_CLASSNOTAVAILABLE for an identifier
/// that is not served, E_NOINTERFACE for any interface but IUnknown and
/// IClassFactory; *ppv is then null. Throws std::bad_alloc only.
HRESULT GetClassObject(REFCLSID classId, REFIID riid, void** ppv);

}  // namespace veskard
