// Every user-visible text by its number, in the language that is loaded.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "lang/DataContainer.h"
#include "lang/StringIds.h"

namespace veskard {

/// Builds the table from the built-in English texts and the archive in the
/// module's resources. `code` is a packed language code ('d' | 'e' << 8), or
/// negative for the user's own language; then tries the translator's check file, if
/// there is one beside the host program. Call once, before the first GetString;
/// texts that cannot be read stay English. Any thread: readers see either the
/// old table or the new one. Throws std::bad_alloc only, with the old table in place.
void LoadLanguage(int32_t code);

/// The text with a number; the built-in English one, names filled in, before
/// LoadLanguage, empty for a number that is not in the table. The reference stays
/// valid until the library unloads.
const std::wstring& GetString(uint32_t number);
inline const std::wstring& GetString(StringId id) {
  return GetString(static_cast<uint32_t>(id));
}

/// The sources of the table, for the tools that explain a user's language.
struct LanguageStatus {
  DataStatus archive = DataStatus::kMissing;  // the resource
  std::string member;                         // translated from; empty means English
  std::vector<std::string> diagnostics;       // one for each member that could not be read
};

/// The status of the last LoadLanguage; an empty one before it.
LanguageStatus GetLanguageStatus();

}  // namespace veskard
