// What the formatter asks the layers above for, as the tests have it: dumps from
// the dump itself, unit names in English.
#include "util/string/FormatServices.h"

#include "benc/BencDump.h"

namespace veskard {
namespace {

const wchar_t* UnitName(unsigned number) {
  static constexpr const wchar_t* kNames[] = {L"B", L"EB", L"GB", L"kB", L"MB", L"PB", L"TB"};
  return kNames[number];
}

}  // namespace

const FormatServices formatServices = {&DumpDictionary, &UnitName};

}  // namespace veskard
