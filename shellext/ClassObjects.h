// The classes that VeskardShellExt.dll serves.
#pragma once

#include <unknwn.h>

namespace veskard {

/// What GetServedClass answers for them.
HRESULT GetClassObject(REFCLSID classId, REFIID riid, void** ppv);

}  // namespace veskard
