#include "tests/support/BencTesting.h"

#include "benc/BencDump.h"
#include "benc/BencParser.h"
#include "benc/BencWriter.h"
#include "tests/support/GuardedBuffer.h"

namespace veskard::test {

BencValue Parsed(std::string_view text) {
  GuardedBuffer buffer(text);
  BencParser parser(buffer.begin(), buffer.end());
  BencValue value;
  ParseBencoded(value, parser);
  return value;
}

std::string Written(const BencValue& value) {
  ByteBuilder out;
  WriteBencoded(out, value);
  return std::string(out.View());
}

std::string Dumped(const BencValue& value, int mode) {
  ByteBuilder out;
  DumpValue(out, value, mode);
  return std::string(out.View());
}

}  // namespace veskard::test
