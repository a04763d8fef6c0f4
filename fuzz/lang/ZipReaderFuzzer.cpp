// Any bytes as the language archive: its names, and the members that a load reads.
#include <algorithm>
#include <cstdint>
#include <cstdlib>

#include "lang/LanguageCode.h"
#include "lang/ZipReader.h"

namespace {

// As many as a load reads: the version, the English lines and a language.
constexpr size_t kMembersOfALoad = 3;

void Require(bool condition) {
  if (!condition) std::abort();
}

void Read(veskard::ZipReader& reader, const std::string& name) {
  std::string contents;
  const veskard::ZipOutcome outcome = reader.ReadMember(name, contents);
  Require(contents.size() <= veskard::ZipReader::kMaxMemberSize);
  Require(contents.empty() != outcome.Succeeded());
  Require((outcome.step == veskard::ZipStep::kDone || outcome.step == veskard::ZipStep::kRead) ||
          outcome.error != 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  veskard::ZipReader reader({reinterpret_cast<const char*>(data), size});
  const std::vector<std::string> names = reader.MemberNames();
  for (size_t i = 0; i < std::min(names.size(), kMembersOfALoad); ++i) Read(reader, names[i]);
  Read(reader, "english.txt");
  const veskard::LanguageCode german = veskard::PackLanguageCode("de");
  const std::string member = veskard::ChooseMember(names, {german, german});
  Require(member.empty() || veskard::CodeOfMember(member) == german);
  return 0;
}
