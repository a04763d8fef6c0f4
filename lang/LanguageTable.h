// LanguageTable: every user-visible text by its number.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "lang/DataContainer.h"

namespace veskard {

inline constexpr size_t kStringCount = 309;

/// The texts that this library itself uses.
enum class StringId : uint32_t {
  kUnitBytes = 0,
  kUnitExa = 1,
  kUnitGiga = 2,
  kUnitKilo = 3,
  kUnitMega = 4,
  kUnitPeta = 5,
  kUnitTera = 6,
  kCancelReceiving = 259,
  kRemoveFromAllDevices = 260,
  kRemoveFromThisDevice = 261,
  kShareWith = 262,
  kSyncToThisDevice = 263,
};

/// Builds the table from the built-in English texts and the archive in the
/// module's resources. `code` is a packed language code ('d' | 'e' << 8), or
/// negative for the user's own language; then tries the translator's check file, if
/// there is one beside the host program. Call once, before the first GetString;
/// whatever cannot be read leaves English texts. Any thread: readers see either the
/// old table or the new one. Throws std::bad_alloc only, with the old table in place.
void LoadLanguage(int32_t code);

/// The text with a number; the built-in English one, names filled in, before
/// LoadLanguage, empty for a number that is not in the table. The reference stays
/// valid until the library unloads.
const std::wstring& GetString(uint32_t number);
inline const std::wstring& GetString(StringId id) {
  return GetString(static_cast<uint32_t>(id));
}

/// How the table came about, for the tools that explain what a user sees.
struct LanguageStatus {
  DataStatus archive = DataStatus::kMissing;  // the resource
  std::string member;                         // translated from; empty means English
  std::vector<std::string> diagnostics;       // one for each member that could not be read
};

/// The status of the last LoadLanguage; an empty one before it.
LanguageStatus GetLanguageStatus();

}  // namespace veskard
