// What the formatter needs from the layers above it, as this library gives it.
#include "util/string/FormatServices.h"

#include "benc/BencDump.h"
#include "benc/BencValue.h"
#include "lang/LanguageTable.h"

namespace veskard {
namespace {

bool DumpDictionary(ByteBuilder& out, const BencValue& value) {
  if (value.GetKind() != BencValue::Kind::Dict) return false;
  DumpValue(out, value, 0);
  return true;
}

const wchar_t* UnitName(unsigned number) {
  return GetString(number).c_str();
}

}  // namespace

const FormatServices formatServices = {DumpDictionary, UnitName};

}  // namespace veskard
