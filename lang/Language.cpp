#include "lang/Language.h"

#include <atomic>
#include <memory>
#include <vector>

#include "core/CriticalSection.h"
#include "core/ModuleHandle.h"
#include "lang/CheckFile.h"
#include "lang/LanguageArchive.h"
#include "lang/LanguageTable.h"
#include "lang/ResourceData.h"
#include "lang/UserLanguage.h"
#include "util/string/SizeText.h"

namespace veskard {
namespace {

constexpr uint16_t kArchiveResource = 111;
constexpr wchar_t kArchiveResourceType[] = L"BIN";

/// A table and how it came about. Constant once other threads can see it.
struct LoadedLanguage {
  LanguageTable table;
  LanguageStatus status;
};

CriticalSection loadLock;
// Replaced languages are kept, because callers hold references to their texts. A process
// loads one, so there is hardly ever another.
std::vector<std::unique_ptr<const LoadedLanguage>> loaded;
std::atomic<const LoadedLanguage*> shown{nullptr};

void Show(std::unique_ptr<LoadedLanguage> language) {
  const CriticalSectionHold hold(loadLock);
  loaded.push_back(std::move(language));
  shown.store(loaded.back().get(), std::memory_order_release);
  SetSizeUnitNames([](unsigned number) { return GetString(number).c_str(); });
}

const LanguageTable& CurrentTable() {
  if (const LoadedLanguage* language = shown.load(std::memory_order_acquire)) return language->table;
  static const LanguageTable english;
  return english;
}

void TranslateFromArchive(LoadedLanguage& language, std::string_view bytes, int32_t code) {
  LanguageArchive archive(bytes);
  const std::string member = ChooseMember(archive.MemberNames(), WantedCodes(code));
  std::wstring translation;
  std::wstring english;
  if (!member.empty() && archive.ReadText(member, translation) && archive.ReadText("english.txt", english)) {
    language.table.Translate(translation, english);
    language.status.member = member;
  }
  language.status.diagnostics = archive.Diagnostics();
}

}  // namespace

void LoadLanguage(int32_t code) {
  auto language = std::make_unique<LoadedLanguage>();
  const ResourceData archive(ModuleHandle(), kArchiveResource, kArchiveResourceType);
  language->status.archive = archive.Status();
  if (archive.Status() == DataStatus::kReady) TranslateFromArchive(*language, archive.Bytes(), code);

  const std::wstring program = ReadModulePath(nullptr);
  if (!program.empty()) ApplyCheckFile(language->table, CheckFilePath(program));
  Show(std::move(language));
}

const std::wstring& GetString(uint32_t number) {
  static const std::wstring nothing;
  return number < kStringCount ? CurrentTable().Get(number) : nothing;
}

LanguageStatus GetLanguageStatus() {
  const LoadedLanguage* language = shown.load(std::memory_order_acquire);
  return language == nullptr ? LanguageStatus{} : language->status;
}

}  // namespace veskard
