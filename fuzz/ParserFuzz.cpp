// Any bytes as bencode: the parser stays within a buffer of exactly their size;
// what it accepts is written, parsed and written again without a change, copied
// to the same, and dumped.
#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>
#include <vector>

#include "benc/BencDump.h"
#include "benc/BencParser.h"
#include "benc/BencWriter.h"
#include "fuzz/FuzzArena.h"
#include "fuzz/Require.h"

namespace veskard {
namespace {

bool ParseExact(std::string_view text, BencValue& value) {
  const std::unique_ptr<char[]> buffer(new char[text.size()]);
  if (!text.empty()) std::memcpy(buffer.get(), text.data(), text.size());
  BencParser parser(buffer.get(), buffer.get() + text.size());
  const bool accepted = ParseBencoded(value, parser);
  VESKARD_REQUIRE(accepted == (value.GetKind() != BencValue::Kind::None));
  return accepted;
}

std::string_view UpToNul(std::string_view key) {
  return key.substr(0, key.find('\0'));
}

void RequireAscendingKeys(const BencValue& dict) {
  const BencEntries entries = dict.Entries();
  BencEntries::Iterator before;
  for (auto at = entries.begin(); at != entries.end(); before = at, ++at) {
    if (at != entries.begin()) VESKARD_REQUIRE(UpToNul((*before).key) < UpToNul((*at).key));
    VESKARD_REQUIRE(dict.Find((*at).key) == &(*at).value);
  }
}

// Of every dictionary in the value, at any depth without recursion.
void RequireAscendingKeysBelow(const BencValue& root) {
  std::vector<const BencValue*> waiting = {&root};
  while (!waiting.empty()) {
    const BencValue& value = *waiting.back();
    waiting.pop_back();
    if (value.GetKind() == BencValue::Kind::List) {
      for (const BencValue& item : value.Items()) waiting.push_back(&item);
    } else if (value.GetKind() == BencValue::Kind::Dict) {
      RequireAscendingKeys(value);
      for (const auto entry : value.Entries()) waiting.push_back(&entry.value);
    }
  }
}

void CheckAccepted(const BencValue& value) {
  RequireAscendingKeysBelow(value);
  ByteBuilder first;
  WriteBencoded(first, value);

  BencValue again;
  VESKARD_REQUIRE(ParseExact(first.View(), again));
  const BencValue copy = again;
  ByteBuilder second;
  WriteBencoded(second, copy);
  VESKARD_REQUIRE(first.View() == second.View());

  ByteBuilder dump;
  DumpValue(dump, copy, 0);
  VESKARD_REQUIRE(dump.Length() >= 4);
}

}  // namespace
}  // namespace veskard

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const veskard::fuzz::Execution execution;
  veskard::BencValue value;
  if (veskard::ParseExact({reinterpret_cast<const char*>(data), size}, value)) veskard::CheckAccepted(value);
  return 0;
}
