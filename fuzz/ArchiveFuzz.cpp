// Any bytes as the language archive: its names, and the members that a load reads.
#include <algorithm>
#include <cstdint>

#include "fuzz/FuzzArena.h"
#include "fuzz/Require.h"
#include "lang/LanguageCode.h"
#include "lang/ZipReader.h"

namespace veskard {
namespace {

// As many as a load reads: the version, the English lines and a language.
constexpr size_t kMembersOfALoad = 3;

void ReadMember(ZipReader& reader, const std::string& name) {
  std::string contents;
  const ZipOutcome outcome = reader.ReadMember(name, contents);
  VESKARD_REQUIRE(contents.size() <= ZipReader::kMaxMemberSize);
  VESKARD_REQUIRE(contents.empty() != outcome.Succeeded());
  const bool hasNoReason = outcome.Succeeded() || outcome.step == ZipStep::kRead;
  VESKARD_REQUIRE(hasNoReason || outcome.error < 0);
}

void ReadArchive(std::string_view bytes) {
  ZipReader reader(bytes);
  const std::vector<std::string> names = reader.MemberNames();
  for (size_t i = 0; i < std::min(names.size(), kMembersOfALoad); ++i) ReadMember(reader, names[i]);
  ReadMember(reader, "no such member");

  const LanguageCode german = PackLanguageCode("de");
  const std::string member = ChooseMember(names, {german, german});
  VESKARD_REQUIRE(member.empty() || CodeOfMember(member) == german);
}

}  // namespace
}  // namespace veskard

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const veskard::fuzz::Execution execution;
  veskard::ReadArchive({reinterpret_cast<const char*>(data), size});
  return 0;
}
