#include "shellext/ClassFactory.h"
#include "shellext/ServedClasses.h"
#include "shellext/contextmenu/ShellContextMenu.h"

namespace veskard {

IClassFactory* NewContextMenuFactory() {
  return new ClassFactory<ShellContextMenu>();
}

}  // namespace veskard
