// What the formatter needs from the layers above it, as this library gives it.
#include "util/string/FormatServices.h"

#include "benc/BencDump.h"
#include "lang/LanguageTable.h"

namespace veskard {
namespace {

const wchar_t* UnitName(unsigned number) {
  return GetString(number).c_str();
}

}  // namespace

const FormatServices formatServices = {DumpDictionary, UnitName};

}  // namespace veskard
