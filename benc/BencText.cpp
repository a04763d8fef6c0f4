// The part of BencValue that needs the system's code pages.
#include "benc/BencValue.h"
#include "util/string/CodePage.h"

namespace veskard {

std::wstring BencValue::AsWString() const {
  return WideFromUtf8(AsBytes());
}

}  // namespace veskard
