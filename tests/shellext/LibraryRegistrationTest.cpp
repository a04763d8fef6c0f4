// Registration through DllInstall of the built library, in a registry of the
// test's own.
#include <gmock/gmock.h>
#include <shlobj.h>
#include <wrl/client.h>

#include <filesystem>

#include "shellext/ClassIds.h"
#include "tests/shellext/RegisteredValues.h"
#include "tests/shellext/module/LogFixture.h"
#include "tests/support/ExtensionLibrary.h"
#include "tests/support/Patched.h"
#include "tests/support/RegistrySnapshot.h"

namespace veskard {
namespace {

namespace fs = std::filesystem;
using Microsoft::WRL::ComPtr;
using test::ExtensionLibrary;
using test::RegistrySnapshot;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

void MakeKey(const std::wstring& path) {
  test::WriteRegistryText(HKEY_LOCAL_MACHINE, path, L"", L"");
}

RegistrySnapshot LocalMachine() {
  return test::TakeRegistrySnapshot(HKEY_LOCAL_MACHINE);
}

/// The log is off and keeps out of the registry that is compared.
class RegistrationTest : public test::LogFixture {
 protected:
  RegistrationTest() { registry_.SetApplicationData(ApplicationData() + L"\\missing"); }

  std::vector<WrittenKey> AllRows() const { return TenRows(test::ExtensionLibraryPath()); }

  ExtensionLibrary library_;
};

// ---- What is written and removed

TEST_F(RegistrationTest, InstallingWritesExactlyTheTenValues) {
  EXPECT_EQ(library_.DllInstall(TRUE, L"S"), S_OK);
  EXPECT_EQ(LocalMachine(), Written(AllRows()));
}

TEST_F(RegistrationTest, TheCommandLineChangesNothing) {
  for (const wchar_t* commandLine : {L"S", L"", L"s", L"U", L"user", L"S "}) {
    EXPECT_EQ(library_.DllInstall(TRUE, commandLine), S_OK);
    EXPECT_EQ(LocalMachine(), Written(AllRows())) << commandLine;
    EXPECT_EQ(library_.DllInstall(FALSE, commandLine), S_OK);
  }
  EXPECT_EQ(library_.DllInstall(TRUE, nullptr), S_OK);
  EXPECT_EQ(LocalMachine(), Written(AllRows()));
}

TEST_F(RegistrationTest, AnyNonZeroAnswerInstalls) {
  EXPECT_EQ(library_.DllInstall(-1, nullptr), S_OK);
  EXPECT_EQ(LocalMachine(), Written(AllRows()));
}

TEST_F(RegistrationTest, InstallingTwiceLeavesOneSet) {
  EXPECT_EQ(library_.DllInstall(TRUE, L"S"), S_OK);
  EXPECT_EQ(library_.DllInstall(TRUE, L"S"), S_OK);
  EXPECT_EQ(LocalMachine(), Written(AllRows()));
}

TEST_F(RegistrationTest, InstallingClearsStaleValuesOfThisVersion) {
  test::WriteRegistryText(HKEY_LOCAL_MACHINE, kMenuClass + L"\\InprocServer32", L"Stale", L"yes");
  test::WriteRegistryText(HKEY_LOCAL_MACHINE, kMenuClass + L"\\Settings", L"Stale", L"yes");
  EXPECT_EQ(library_.DllInstall(TRUE, L"S"), S_OK);
  EXPECT_EQ(LocalMachine(), Written(AllRows()));
}

TEST_F(RegistrationTest, RemovingLeavesTheParentsOnly) {
  EXPECT_EQ(library_.DllInstall(TRUE, L"S"), S_OK);
  EXPECT_EQ(library_.DllInstall(FALSE, L"S"), S_OK);
  RegistrySnapshot left;
  for (const wchar_t* key :
       {L"", L"Software", L"Software\\Classes", L"Software\\Classes\\CLSID", L"Software\\Classes\\*",
        L"Software\\Classes\\*\\shellex", L"Software\\Classes\\*\\shellex\\ContextMenuHandlers",
        L"Software\\Classes\\lnkfile", L"Software\\Classes\\lnkfile\\shellex",
        L"Software\\Classes\\lnkfile\\shellex\\ContextMenuHandlers", L"Software\\Classes\\Directory",
        L"Software\\Classes\\Directory\\shellex",
        L"Software\\Classes\\Directory\\shellex\\ContextMenuHandlers",
        L"Software\\Classes\\Nimbrel Veskard Agent", L"Software\\Classes\\Nimbrel Veskard Agent\\shellex"})
    left[key] = L"";
  EXPECT_EQ(LocalMachine(), left);
}

TEST_F(RegistrationTest, RemovingWhatWasNeverThereSucceeds) {
  const RegistrySnapshot before = LocalMachine();
  EXPECT_EQ(library_.DllInstall(FALSE, L"S"), S_OK);
  EXPECT_EQ(library_.DllInstall(FALSE, nullptr), S_OK);
  EXPECT_EQ(LocalMachine(), before);
}

TEST_F(RegistrationTest, OtherVersionsAndStrangersStay) {
  const std::wstring older =
      L"Software\\Classes\\*\\shellex\\ContextMenuHandlers\\"
      L"Nimbrel Veskard Agent Service 2.7.1";
  const std::wstring olderClass = kClasses + L"CLSID\\{8AF59405-CC05-0002-0701-AE6472CC92B2}\\InprocServer32";
  const std::wstring unregistered = kClasses + L"CLSID\\{8AF59400-CC05-0002-0702-AE6472CC92B2}";
  for (const std::wstring& key : {older, olderClass, unregistered}) MakeKey(key);
  library_.DllInstall(FALSE, L"S");
  RegistrySnapshot before = LocalMachine();
  EXPECT_EQ(library_.DllInstall(TRUE, L"S"), S_OK);
  EXPECT_EQ(library_.DllInstall(FALSE, L"S"), S_OK);
  const RegistrySnapshot after = LocalMachine();
  for (const auto& [name, text] : before) {
    ASSERT_TRUE(after.contains(name)) << ::testing::PrintToString(name);
    EXPECT_EQ(after.at(name), text);
  }
}

TEST_F(RegistrationTest, TheSettingsKeyGoesWithTheMenuClass) {
  library_.DllInstall(TRUE, L"S");
  MakeKey(kMenuClass + L"\\Settings");
  library_.DllInstall(FALSE, L"S");
  EXPECT_FALSE(LocalMachine().contains(kMenuClass));
}

TEST_F(RegistrationTest, AnotherSubkeyKeepsTheIconClass) {
  library_.DllInstall(TRUE, L"S");
  MakeKey(kIconClass + L"\\Settings");
  EXPECT_EQ(library_.DllInstall(FALSE, L"S"), S_OK);
  EXPECT_TRUE(LocalMachine().contains(kIconClass));
  EXPECT_FALSE(LocalMachine().contains(kIconClass + L"\\InprocServer32"));
}

// ---- The calls themselves

/// Stands between the library and the registry, writes down every call and can
/// refuse them.
class RegistrationCallsTest : public RegistrationTest {
 protected:
  static constexpr int kNever = -1;
  int refusedCreation = kNever;  // counted from 0
  int creations = 0;
  bool refuseValues = false;
  bool refuseRemoval = false;
  std::vector<std::wstring> calls;

 private:
  static std::wstring Root(HKEY root) { return root == HKEY_LOCAL_MACHINE ? L"HKLM\\" : L"elsewhere\\"; }

  const test::Patched<&::RegCreateKeyExW> create_{
      library_.Module(), "RegCreateKeyExW",
      [this](auto original, HKEY root, LPCWSTR path, DWORD reserved, LPWSTR className, DWORD options,
             REGSAM access, auto security, HKEY* key, DWORD* disposition) -> LSTATUS {
        const bool plain = reserved == 0 && className == nullptr && options == 0 && access == 0x20006 &&
                           security == nullptr && disposition == nullptr;
        calls.push_back((plain ? L"create " : L"create in another way ") + Root(root) + path);
        if (refusedCreation == creations++) return ERROR_ACCESS_DENIED;
        return original(root, path, reserved, className, options, access, security, key, disposition);
      }};
  const test::Patched<&::RegSetValueExW> set_{
      library_.Module(), "RegSetValueExW",
      [this](auto original, HKEY key, LPCWSTR name, DWORD reserved, DWORD type, const BYTE* data,
             DWORD size) -> LSTATUS {
        const std::wstring text = reinterpret_cast<const wchar_t*>(data);
        EXPECT_EQ(reserved, 0u);
        EXPECT_EQ(type, DWORD{REG_SZ});
        EXPECT_EQ(size, (text.size() + 1) * 2);
        calls.push_back(std::wstring(L"set ") + name + L"=" + text);
        return refuseValues ? ERROR_ACCESS_DENIED : original(key, name, reserved, type, data, size);
      }};
  const test::Patched<&::RegDeleteKeyW> delete_{
      library_.Module(), "RegDeleteKeyW", [this](auto original, HKEY root, LPCWSTR path) -> LSTATUS {
        calls.push_back(L"delete " + Root(root) + path);
        return refuseRemoval ? ERROR_ACCESS_DENIED : original(root, path);
      }};
  const test::Patched<&::SHChangeNotify> notify_{
      library_.Module(), "SHChangeNotify",
      [this](auto, LONG event, UINT flags, const void* first, const void* second) {
        EXPECT_EQ(event, 0x08000000);
        EXPECT_EQ(flags, 0u);
        EXPECT_EQ(first, nullptr);
        EXPECT_EQ(second, nullptr);
        calls.push_back(L"notify");
      }};
};

std::vector<std::wstring> RemovalCalls() {
  std::vector<std::wstring> calls;
  for (const std::wstring& key :
       {kAllFiles, kShortcuts, kFolders, kMenuClass + L"\\InprocServer32", kMenuClass + L"\\Settings",
        kMenuClass, kIconHandler, kIconClass + L"\\InprocServer32", kIconClass})
    calls.push_back(L"delete HKLM\\" + key);
  calls.push_back(L"notify");
  return calls;
}

/// Removal, then the first `written` rows; a creation for each, and for the one
/// that is refused.
std::vector<std::wstring> InstallCalls(const std::vector<WrittenKey>& rows, size_t written) {
  std::vector<std::wstring> calls = RemovalCalls();
  for (size_t row = 0; row < rows.size() && row <= written; ++row) {
    calls.push_back(L"create HKLM\\" + rows[row].key);
    if (row < written) calls.push_back(L"set " + rows[row].valueName + L"=" + rows[row].data);
  }
  if (written == rows.size()) calls.push_back(L"notify");
  return calls;
}

TEST_F(RegistrationCallsTest, InstallingRemovesFirstThenWritesInOrderAndNotifiesTwice) {
  EXPECT_EQ(library_.DllInstall(TRUE, L"S"), S_OK);
  EXPECT_THAT(calls, ElementsAreArray(InstallCalls(AllRows(), 10)));
}

TEST_F(RegistrationCallsTest, RemovingGoesChildrenFirstAndNotifiesOnce) {
  EXPECT_EQ(library_.DllInstall(FALSE, L"S"), S_OK);
  EXPECT_THAT(calls, ElementsAreArray(RemovalCalls()));
}

TEST_F(RegistrationCallsTest, TheFirstRefusedKeyEndsItAndTheRowsBeforeStay) {
  const std::vector<WrittenKey> rows = AllRows();
  for (size_t refused = 0; refused < rows.size(); ++refused) {
    library_.DllInstall(FALSE, L"S");
    const RegistrySnapshot before = LocalMachine();
    calls.clear();
    creations = 0;
    refusedCreation = static_cast<int>(refused);
    EXPECT_EQ(library_.DllInstall(TRUE, L"S"), HRESULT(0x80004005));
    EXPECT_THAT(calls, ElementsAreArray(InstallCalls(rows, refused)));
    RegistrySnapshot expected = before;
    expected.merge(Written({rows.begin(), rows.begin() + static_cast<ptrdiff_t>(refused)}));
    EXPECT_EQ(LocalMachine(), expected) << refused;
    refusedCreation = kNever;
  }
}

TEST_F(RegistrationCallsTest, RefusedValuesAreIgnored) {
  refuseValues = true;
  EXPECT_EQ(library_.DllInstall(TRUE, L"S"), S_OK);
  EXPECT_THAT(calls, ElementsAreArray(InstallCalls(AllRows(), 10)));
}

TEST_F(RegistrationCallsTest, RefusedRemovalsAreIgnored) {
  library_.DllInstall(TRUE, L"S");
  const RegistrySnapshot before = LocalMachine();
  calls.clear();
  refuseRemoval = true;
  EXPECT_EQ(library_.DllInstall(FALSE, L"S"), S_OK);
  EXPECT_THAT(calls, ElementsAreArray(RemovalCalls()));
  EXPECT_EQ(LocalMachine(), before);
}

// ---- The server path

class ServerPathTest : public RegistrationTest {
 protected:
  /// The server path that a copy of the library with another name registers.
  std::wstring RegisteredPathOf(const std::wstring& copy) {
    fs::copy_file(test::ExtensionLibraryPath(), copy);
    const ExtensionLibrary library(copy);
    EXPECT_EQ(library.DllInstall(TRUE, L"S"), S_OK);
    return LocalMachine()[kIconClass + L"\\InprocServer32|"];
  }
};

TEST_F(ServerPathTest, AFreshCopyRegistersTheFinalName) {
  EXPECT_EQ(RegisteredPathOf(Folder() + L"\\ext_new.dll"), L"REG_SZ " + Folder() + L"\\ext.dll");
}

TEST_F(ServerPathTest, OtherLettersAreAnotherName) {
  EXPECT_EQ(RegisteredPathOf(Folder() + L"\\ext_NEW.dll"), L"REG_SZ " + Folder() + L"\\ext_NEW.dll");
}

TEST_F(ServerPathTest, TheFirstPathIsThePathForAsLongAsTheProcess) {
  EXPECT_EQ(library_.DllInstall(TRUE, L"S"), S_OK);
  const test::Patched<&::GetModuleFileNameW> another(
      library_.Module(), "GetModuleFileNameW", [](auto, HMODULE, LPWSTR buffer, DWORD size) {
        const size_t length = std::wstring_view(L"C:\\another\\path.dll").copy(buffer, size - 1);
        buffer[length] = L'\0';
        return static_cast<DWORD>(length);
      });
  EXPECT_EQ(library_.DllInstall(TRUE, L"S"), S_OK);
  EXPECT_EQ(LocalMachine(), Written(AllRows()));
}

// ---- The log

TEST_F(RegistrationTest, EachInstallationIsLoggedAndNoRemoval) {
  registry_.SetApplicationData(ApplicationData());
  ComPtr<IClassFactory> factory;
  ASSERT_EQ(library_.DllGetClassObject(ClassId(5), IID_PPV_ARGS(&factory)), S_OK);
  library_.DllInstall(TRUE, L"S");
  library_.DllInstall(FALSE, L"S");
  library_.DllInstall(TRUE, L"S");
  EXPECT_THAT(Messages(), ElementsAre(L"=== start ===", L"RegisterServer", L"RegisterServer"));
}

TEST_F(RegistrationTest, WithoutAClassObjectThereIsNoLogYet) {
  registry_.SetApplicationData(ApplicationData());
  library_.DllInstall(TRUE, L"S");
  EXPECT_THAT(Lines(), IsEmpty());
}

}  // namespace
}  // namespace veskard
