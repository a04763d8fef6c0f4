// The log while it is on: opened, written, closed; and rotated.
#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>

#include "shellext/ClassIds.h"
#include "tests/shellext/contextmenu/LibraryMenu.h"
#include "tests/support/FileTools.h"
#include "tests/torture/Scenario.h"

namespace veskard::test {
namespace {

namespace fs = std::filesystem;

constexpr uint64_t kRotationThreshold = 104'857'600;
constexpr std::wstring_view kEarlier = L"2017-03-01 14:05:09.000 (explorer.exe:4412) an earlier line\r\n";

const std::vector<std::wstring> kSession = {L"=== start ===", L"Called context menu", L"Skip shortcut target",
                                            L"==== end ===="};

class LogScenario : public ExtensionScenario {
 protected:
  LogScenario() { fs::create_directory(Folder()); }

  bool IsLong() const override { return true; }  // each line waits for the disk

  std::wstring Folder() const { return applicationData_ / L"Nimbrel Veskard Agent"; }
  std::wstring File() const { return Folder() + L"\\ShellExtCM.log"; }
  std::wstring OldFile() const { return File() + L".old"; }

  // Making and dropping an object is what has the switch read again.
  static void ReadSwitch(const ExtensionLibrary& library) {
    UniqueCom<IClassFactory> factory;
    library.DllGetClassObject(ClassId(5), IID_IClassFactory, reinterpret_cast<void**>(factory.Out()));
  }

  void Prepare(const ExtensionLibrary& library) override {
    SetLogSwitch(0);
    ReadSwitch(library);
    LayFiles();
    SetLogSwitch(1);
  }
  virtual void LayFiles() = 0;

  // Switched on, used, and switched off again.
  void Run(const ExtensionLibrary& library) override {
    UniqueCom<IClassFactory> factory;
    if (FAILED(library.DllGetClassObject(ClassId(5), IID_IClassFactory,
                                         reinterpret_cast<void**>(factory.Out()))))
      return;
    UniqueCom<IContextMenu> handler;
    if (SUCCEEDED(factory.Get()->CreateInstance(nullptr, IID_IContextMenu,
                                                reinterpret_cast<void**>(handler.Out())))) {
      EXPECT_EQ(handler.Get()->QueryContextMenu(nullptr, 0, 0, 100, CMF_VERBSONLY), E_NOTIMPL);
    }
    SetLogSwitch(0);
  }
};

/// The messages of all lines; the time before one may be what failed.
std::vector<std::wstring> MessagesIn(const std::wstring& path) {
  std::vector<std::wstring> messages;
  for (const std::wstring& line : ReadLogLines(path)) {
    const size_t tagEnd = line.find(L") ");
    EXPECT_NE(tagEnd, std::wstring::npos) << testing::PrintToString(line);
    messages.push_back(tagEnd == std::wstring::npos ? line : line.substr(tagEnd + 2));
  }
  return messages;
}

bool IsSwitchUnreadable(const Struck& struck) {
  return struck.function == "RegOpenKeyExW" || struck.function == "RegQueryValueExW";
}

class LogSession final : public LogScenario {
  void LayFiles() override {
    WriteBytes(File(), {reinterpret_cast<const char*>(kEarlier.data()), kEarlier.size() * sizeof(wchar_t)});
  }

  void Check(const Struck& struck) override {
    std::vector<std::wstring> messages = MessagesIn(File());
    ASSERT_FALSE(messages.empty()) << "earlier lines are lost";
    EXPECT_EQ(messages.front(), L"an earlier line");
    messages.erase(messages.begin());
    if (struck.Nothing()) {
      EXPECT_EQ(messages, kSession);
    } else {
      // A switch that cannot be read is on: the log that was closed is opened again.
      if (IsSwitchUnreadable(struck) && messages.size() > 1 && messages.back() == kSession.front())
        messages.pop_back();
      // Lines are lost, but none is out of its order or written twice.
      auto expected = kSession.begin();
      for (const std::wstring& message : messages) {
        expected = std::find(expected, kSession.end(), message);
        ASSERT_NE(expected, kSession.end()) << testing::PrintToString(message);
        ++expected;
      }
    }
  }
};

class LogRotation final : public LogScenario {
  void LayFiles() override {
    ::DeleteFileW(OldFile().c_str());
    const UniqueFile file(
        ::CreateFileW(File().c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
    LARGE_INTEGER end = {};
    end.QuadPart = kRotationThreshold;
    EXPECT_TRUE(::SetFilePointerEx(file.Get(), end, nullptr, FILE_BEGIN) && ::SetEndOfFile(file.Get()));
  }

  void Check(const Struck& struck) override {
    const bool isRotated = SizeOf(OldFile()) > kRotationThreshold;
    if (struck.Nothing()) {
      EXPECT_TRUE(isRotated);
      EXPECT_EQ(ReadLogMessages(File()), kSession);
      return;
    }
    // When the file cannot be moved it is deleted on purpose. Nothing else loses it.
    const bool isDiscarded = struck.Only("MoveFileExW") || struck.Everything();
    EXPECT_TRUE(isRotated || SizeOf(File()) >= kRotationThreshold || isDiscarded);
  }

  static uint64_t SizeOf(const std::wstring& path) {
    std::error_code missing;
    const uint64_t size = fs::file_size(path, missing);
    return missing ? 0 : size;
  }
};

}  // namespace

std::unique_ptr<Scenario> NewLogSession() {
  return std::make_unique<LogSession>();
}

std::unique_ptr<Scenario> NewLogRotation() {
  return std::make_unique<LogRotation>();
}

}  // namespace veskard::test
