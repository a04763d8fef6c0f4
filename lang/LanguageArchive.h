// LanguageArchive: the texts that the library carries in its resources.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "core/CriticalSection.h"
#include "lang/ZipReader.h"

namespace veskard {

/// A zip archive with these members, all UTF-8:
///
///     version                    the archive's version; only read
///     english.txt                the English lines
///     German!de.txt, ...         display name, "!", language code: the lines beside
///
/// What cannot be read leaves a diagnostic. Any thread may call; calls are serialised.
/// Throws std::bad_alloc only.
class LanguageArchive {
 public:
  /// Opens the archive in `bytes`, which must outlive it, and reads its version.
  explicit LanguageArchive(std::string_view bytes);

  std::vector<std::string> MemberNames();

  /// Reads a member whole as wide text. False, with `text` empty, when it cannot be.
  bool ReadText(const std::string& name, std::wstring& text);

  /// One sentence for each member that could not be read.
  std::vector<std::string> Diagnostics();

 private:
  bool ReadMember(const std::string& name, std::string& contents);

  CriticalSection lock_;
  ZipReader reader_;
  std::vector<std::string> diagnostics_;
};

/// The sentence for a failed step, with the member's name and the error's number.
std::string DescribeFailure(const std::string& name, ZipOutcome outcome);

}  // namespace veskard
