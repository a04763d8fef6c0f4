// What the formatter asks for, as this program needs it: messages are dumped,
// sizes with units never printed.
#include "util/string/FormatServices.h"

#include "benc/BencDump.h"

namespace veskard {
namespace {

bool DumpDictionary(ByteBuilder& out, const BencValue& value) {
  if (value.GetKind() != BencValue::Kind::Dict) return false;
  DumpValue(out, value, 0);
  return true;
}

const wchar_t* NoUnitName(unsigned) {
  return L"";
}

}  // namespace

const FormatServices formatServices = {&DumpDictionary, &NoUnitName};

}  // namespace veskard
