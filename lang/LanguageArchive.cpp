#include "lang/LanguageArchive.h"

#include "util/string/CodePage.h"
#include "util/string/strfmt.h"

namespace veskard {
namespace {

const char* FormatOf(ZipStep step) {
  switch (step) {
    case ZipStep::kLocate:
      return "ZIP: Can't locate [%s] in zip, error %d.";
    case ZipStep::kInfo:
      return "ZIP: Can't get info from zip for [%s], error %d.";
    case ZipStep::kOpen:
      return "ZIP: Can't open [%s] from zip, error %d.";
    case ZipStep::kRead:
      return "ZIP: Read [%s] from zip is empty.";
    case ZipStep::kClose:
      return "ZIP: Can't close [%s] in zip, error %d.";
    case ZipStep::kDone:
      break;
  }
  return "";
}

}  // namespace

LanguageArchive::LanguageArchive(std::string_view bytes) : reader_(bytes) {
  std::string version;
  ReadMember("version", version);
}

std::vector<std::string> LanguageArchive::MemberNames() {
  const CriticalSectionHold hold(lock_);
  return reader_.MemberNames();
}

bool LanguageArchive::ReadText(const std::string& name, std::wstring& text) {
  std::string contents;
  const bool isRead = ReadMember(name, contents);
  text = WideFromUtf8(contents);
  return isRead;
}

std::vector<std::string> LanguageArchive::Diagnostics() {
  const CriticalSectionHold hold(lock_);
  return diagnostics_;
}

bool LanguageArchive::ReadMember(const std::string& name, std::string& contents) {
  const CriticalSectionHold hold(lock_);
  const ZipOutcome outcome = reader_.ReadMember(name, contents);
  if (!outcome.Succeeded()) diagnostics_.push_back(DescribeFailure(name, outcome));
  return outcome.Succeeded();
}

std::string DescribeFailure(const std::string& name, ZipOutcome outcome) {
  return FormatString(FormatOf(outcome.step), name, outcome.error);
}

}  // namespace veskard
