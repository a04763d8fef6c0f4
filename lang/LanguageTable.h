// LanguageTable: every user-visible text by its number.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

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
/// negative for the user's own language. Call once, before the first GetString;
/// whatever cannot be read leaves English texts. Throws std::bad_alloc only.
void LoadLanguage(int32_t code);

/// The text with a number; the built-in English one before LoadLanguage, empty
/// for a number that is not in the table. The reference stays valid until the
/// library unloads.
const std::wstring& GetString(uint32_t number);
inline const std::wstring& GetString(StringId id) {
  return GetString(static_cast<uint32_t>(id));
}

/// Replaces "%APPNAME%" and then "%APPSHORTNAME%" by the agent's names.
void ExpandAppNames(std::wstring& text);

}  // namespace veskard
