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
constexpr wchar_t kEarlier[] = L"2017-03-01 14:05:09.000 (explorer.exe:4412) an earlier line\r\n";

const std::vector<std::wstring> kSession = {L"=== start ===", L"Called context menu", L"Skip shortcut target",
                                            L"==== end ===="};

class LogScenario : public Scenario {
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

std::wstring ReadText(const std::wstring& path) {
  const std::string bytes = ReadBytes(path);
  EXPECT_EQ(bytes.size() % sizeof(wchar_t), 0u) << "half a character";
  return {reinterpret_cast<const wchar_t*>(bytes.data()), bytes.size() / sizeof(wchar_t)};
}

/// The messages of whole lines.
std::vector<std::wstring> MessagesIn(std::wstring_view text) {
  std::vector<std::wstring> messages;
  while (!text.empty()) {
    const size_t end = text.find(L"\r\n");
    EXPECT_NE(end, std::wstring_view::npos) << "half a line";
    if (end == std::wstring_view::npos) break;
    const size_t message = text.find(L") ");
    EXPECT_LT(message, end);
    if (message < end) messages.emplace_back(text.substr(message + 2, end - message - 2));
    text.remove_prefix(end + 2);
  }
  return messages;
}

bool IsSwitchUnreadable(const Struck& struck) {
  return struck.function == "RegOpenKeyExW" || struck.function == "RegQueryValueExW";
}

class LogSession final : public LogScenario {
  void LayFiles() override {
    const std::wstring_view earlier = kEarlier;
    WriteBytes(File(), {reinterpret_cast<const char*>(earlier.data()), earlier.size() * sizeof(wchar_t)});
  }

  void Check(const Struck& struck) override {
    const std::wstring text = ReadText(File());
    ASSERT_TRUE(text.starts_with(kEarlier)) << "earlier lines are lost";
    std::vector<std::wstring> messages = MessagesIn(std::wstring_view(text).substr(std::size(kEarlier) - 1));
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
      EXPECT_EQ(MessagesIn(ReadText(File())), kSession);
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
