// The seam between the module and the classes that it serves: the module asks
// for factories without knowing the handlers.
#pragma once

#include <unknwn.h>

namespace veskard {

/// A new factory with reference count 0, owned by the caller; throws
/// std::bad_alloc. Defined beside the class that the factory makes.
IClassFactory* NewContextMenuFactory();
IClassFactory* NewFileIconFactory();

}  // namespace veskard
