#include "tools/shellprobe/ComApartment.h"

#include <ole2.h>

#include "tools/common/ToolError.h"

namespace veskard {

ComApartment::ComApartment() {
  const HRESULT result = ::OleInitialize(nullptr);
  if (FAILED(result)) throw ToolError(ExitCode::kFailed, "COM cannot be started: " + HexCode(result));
}

ComApartment::~ComApartment() {
  ::OleUninitialize();
}

}  // namespace veskard
