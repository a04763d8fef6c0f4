#include "tools/common/ProgramVersion.h"

#include <windows.h>

#include <string_view>

#include "core/Version.h"
#include "tools/common/Architecture.h"
#include "tools/common/Utf8.h"

namespace veskard {
namespace {

/// The program's own resource; empty without one. Lives as long as the program.
std::string_view Notices() {
  const HRSRC place = ::FindResourceW(nullptr, L"NOTICES", RT_RCDATA);
  if (place == nullptr) return {};
  const HGLOBAL block = ::LoadResource(nullptr, place);
  const void* data = block == nullptr ? nullptr : ::LockResource(block);
  if (data == nullptr) return {};
  return {static_cast<const char*>(data), ::SizeofResource(nullptr, place)};
}

}  // namespace

std::string VersionText(const std::string& program) {
  std::string text =
      program + " " + ToUtf8(kVersionText) + " (" + ArchitectureName(OwnArchitecture()) + ")\n";
  if (const std::string_view notices = Notices(); !notices.empty()) text.append("\n").append(notices);
  return text;
}

}  // namespace veskard
