// What the formatter asks for, as this program needs it: messages are dumped,
// sizes with units never printed.
#include "util/string/FormatServices.h"

#include "benc/BencDump.h"

namespace veskard {
namespace {

const wchar_t* NoUnitName(unsigned) {
  return L"";
}

}  // namespace

const FormatServices formatServices = {&DumpDictionary, &NoUnitName};

}  // namespace veskard
