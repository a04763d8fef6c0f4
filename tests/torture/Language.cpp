// The first handler of a process, which builds the table of texts: for a user who
// speaks German, and with a translator's check file.
#include <gmock/gmock.h>

#include <cstring>

#include "shellext/ClassIds.h"
#include "tests/shellext/contextmenu/LibraryMenu.h"
#include "tests/support/FileTools.h"
#include "tests/support/WatchedCalls.h"
#include "tests/torture/Scenario.h"

namespace veskard::test {
namespace {

using testing::AnyOf;

constexpr wchar_t kEnglish[] = L"Remove from all devices";
constexpr wchar_t kGerman[] = L"Von allen Ger\u00E4ten entfernen";
constexpr char kGermanInUtf8[] = "Von allen Ger\xC3\xA4ten entfernen";
// Text that cannot be converted from UTF-8 is taken for the system's own code page.
constexpr wchar_t kGermanAsAnsi[] = L"Von allen Ger\u00C3\u00A4ten entfernen";
constexpr UINT kOffset = 5;

BOOL WINAPI SpeakGerman(DWORD, ULONG* count, wchar_t* buffer, ULONG* size) {
  constexpr wchar_t kLanguages[] = L"de-DE\0";
  if (buffer != nullptr) std::memcpy(buffer, kLanguages, sizeof(kLanguages));
  *count = 1;
  *size = static_cast<ULONG>(std::size(kLanguages));
  return TRUE;
}

class LanguageScenario : public ExtensionScenario {
 protected:
  LanguageScenario() { AnswerBy("GetUserPreferredUILanguages", reinterpret_cast<void*>(&SpeakGerman)); }

  bool IsOnce() const override { return true; }

  void Run(const ExtensionLibrary& library) override {
    UniqueCom<IClassFactory> factory;
    UniqueCom<IContextMenu> handler;
    result_ =
        library.DllGetClassObject(ClassId(5), IID_IClassFactory, reinterpret_cast<void**>(factory.Out()));
    if (SUCCEEDED(result_)) {
      result_ =
          factory.Get()->CreateInstance(nullptr, IID_IContextMenu, reinterpret_cast<void**>(handler.Out()));
    }
    text_[0] = L'\0';
    narrow_[0] = '\0';
    if (SUCCEEDED(result_)) {
      result_ = handler.Get()->GetCommandString(kOffset, GCS_HELPTEXTW, nullptr,
                                                reinterpret_cast<char*>(text_), 100);
    }
    if (SUCCEEDED(result_)) {
      result_ = handler.Get()->GetCommandString(kOffset, GCS_HELPTEXTA, nullptr, narrow_, 100);
    }
  }

  // Memory that ended is made up for by the next handler. What the system has
  // refused once stays for this process: its texts are loaded once.
  void CheckText(const Struck& struck, const wchar_t* right, const char* rightInUtf8) {
    if (struck.Nothing()) {
      EXPECT_EQ(result_, S_OK);
      EXPECT_TRUE(std::wstring(text_) == right || mayStayEnglish_) << testing::PrintToString(text_);
      EXPECT_TRUE(std::string(narrow_) == rightInUtf8 || mayStayEnglish_) << narrow_;
      mayStayEnglish_ = false;
      return;
    }
    if (struck.Memory()) {
      EXPECT_THAT(result_, AnyOf(S_OK, E_OUTOFMEMORY));
      if (FAILED(result_)) return;
      EXPECT_EQ(std::wstring(text_), right);
    } else {
      EXPECT_EQ(result_, S_OK);
      const bool isConversion = struck.function == "MultiByteToWideChar";
      EXPECT_THAT(std::wstring(text_), AnyOf(kEnglish, kGerman, right, isConversion ? kGermanAsAnsi : right));
      mayStayEnglish_ = true;
    }
  }

  HRESULT result_ = S_OK;
  wchar_t text_[100] = {};
  char narrow_[100] = {};
  bool mayStayEnglish_ = false;
};

class LanguageTable final : public LanguageScenario {
  void Check(const Struck& struck) override { CheckText(struck, kGerman, kGermanInUtf8); }
};

// --- The check file ---

constexpr wchar_t kTried[] = L"Ueberall weg";
constexpr char kTriedInUtf8[] = "Ueberall weg";
constexpr char kCheckFile[] = "Remove from all devices\r\nUeberall weg\r\nno such text\r\nkein Text\r\n";
constexpr char kOldReport[] = "the report of another day";

std::wstring hostProgram;

DWORD WINAPI NameHostProgram(HMODULE module, wchar_t* buffer, DWORD size) {
  if (module != nullptr) return ::GetModuleFileNameW(module, buffer, size);
  const size_t length = hostProgram.copy(buffer, size - 1);
  buffer[length] = L'\0';
  return static_cast<DWORD>(length);
}

class CheckFile final : public LanguageScenario {
 public:
  CheckFile() {
    hostProgram = folder_ / L"host.exe";
    AnswerBy("GetModuleFileNameW", reinterpret_cast<void*>(&NameHostProgram));
  }

 private:
  void Prepare(const ExtensionLibrary&) override {
    WriteBytes(CheckPath(), kCheckFile);
    WriteBytes(ReportPath(), kOldReport);
  }

  void Check(const Struck& struck) override {
    const bool isStruckBefore = mayStayEnglish_;
    CheckText(struck, kTried, kTriedInUtf8);
    EXPECT_EQ(ReadBytes(CheckPath()), kCheckFile);
    const std::string report = ReadBytes(ReportPath());
    if (struck.Nothing() && report_.empty() && !isStruckBefore) report_ = report;
    // Never half a report: the old one, the new one, or a longer one where the archive
    // could not be read and more texts are English.
    const bool isLonger = struck.fault.kind == FaultKind::kSystemCall && report.size() > report_.size();
    EXPECT_TRUE(report == report_ || report == kOldReport || isLonger) << report.substr(0, 200);
  }

  void Finish() override {
    for (const std::wstring& name : NamesIn(folder_.Path())) ::DeleteFileW((folder_ / name).c_str());
  }

  std::wstring CheckPath() const { return hostProgram + L".lang.txt"; }
  std::wstring ReportPath() const { return hostProgram + L".lang.log"; }

  ScratchFolder folder_;
  std::string report_;
};

}  // namespace

std::unique_ptr<Scenario> NewLanguageTable() {
  return std::make_unique<LanguageTable>();
}

std::unique_ptr<Scenario> NewCheckFile() {
  return std::make_unique<CheckFile>();
}

}  // namespace veskard::test
