// Registration through DllInstall of the built library, in a registry of the
// test's own, and once through the real client in the machine's.
#include <gmock/gmock.h>
#include <shlobj.h>
#include <wrl/client.h>

#include <filesystem>
#include <thread>

#include "shellext/ClassIds.h"
#include "tests/shellext/LogFixture.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/ExtensionLibrary.h"
#include "tests/support/ImportPatch.h"
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

const std::wstring kMenuId = L"{8AF59405-CC05-0002-0702-AE6472CC92B2}";
const std::wstring kIconId = L"{8AF59406-CC05-0002-0702-AE6472CC92B2}";
const std::wstring kHandler = L"Nimbrel Veskard Agent Service 2.7.2";
const std::wstring kClasses = L"Software\\Classes\\";
const std::wstring kMenuClass = kClasses + L"CLSID\\" + kMenuId;
const std::wstring kIconClass = kClasses + L"CLSID\\" + kIconId;
const std::wstring kAllFiles = kClasses + L"*\\shellex\\ContextMenuHandlers\\" + kHandler;
const std::wstring kShortcuts = kClasses + L"lnkfile\\shellex\\ContextMenuHandlers\\" + kHandler;
const std::wstring kFolders = kClasses + L"Directory\\shellex\\ContextMenuHandlers\\" + kHandler;
const std::wstring kIconHandler = kClasses + L"Nimbrel Veskard Agent\\shellex\\IconHandler";

/// A key that registration makes, with the rows that write to it.
struct WrittenKey {
  std::wstring key;
  std::wstring valueName;
  std::wstring data;
};

std::vector<WrittenKey> TenRows(const std::wstring& server) {
  return {
      {kMenuClass, L"", kHandler},
      {kMenuClass + L"\\InprocServer32", L"", server},
      {kMenuClass + L"\\InprocServer32", L"ThreadingModel", L"Apartment"},
      {kAllFiles, L"", kMenuId},
      {kShortcuts, L"", kMenuId},
      {kFolders, L"", kMenuId},
      {kIconClass, L"", kHandler},
      {kIconClass + L"\\InprocServer32", L"", server},
      {kIconClass + L"\\InprocServer32", L"ThreadingModel", L"Apartment"},
      {kIconHandler, L"", kIconId},
  };
}

/// What the registry holds once the first `rows` are written: the values, their
/// keys and the keys' parents.
RegistrySnapshot Written(const std::vector<WrittenKey>& rows) {
  RegistrySnapshot snapshot = {{L"", L""}};
  for (const WrittenKey& row : rows) {
    for (size_t end = row.key.find(L'\\'); end != std::wstring::npos; end = row.key.find(L'\\', end + 1))
      snapshot[row.key.substr(0, end)] = L"";
    snapshot[row.key] = L"";
    snapshot[row.key + L"|" + row.valueName] = L"REG_SZ " + row.data;
  }
  return snapshot;
}

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
  const std::wstring older = L"Software\\Classes\\*\\shellex\\ContextMenuHandlers\\"
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
  RegistrationCallsTest()
      : create_(library_.Module(), "RegCreateKeyExW", &Create),
        set_(library_.Module(), "RegSetValueExW", &Set),
        delete_(library_.Module(), "RegDeleteKeyW", &Delete),
        notify_(library_.Module(), "SHChangeNotify", &Notify) {
    self_ = this;
  }

  static constexpr int kNever = -1;
  int refusedCreation = kNever;  // counted from 0
  bool refuseValues = false;
  bool refuseRemoval = false;
  std::vector<std::wstring> calls;
  std::vector<std::wstring> notifications;

 private:
  static std::wstring Root(HKEY root) { return root == HKEY_LOCAL_MACHINE ? L"HKLM\\" : L"elsewhere\\"; }

  static LSTATUS WINAPI Create(HKEY root, const wchar_t* path, DWORD reserved, wchar_t* className,
                               DWORD options, REGSAM access, const SECURITY_ATTRIBUTES* security, HKEY* key,
                               DWORD* disposition) {
    const bool plain = reserved == 0 && className == nullptr && options == 0 && access == 0x20006 &&
                       security == nullptr && disposition == nullptr;
    self_->calls.push_back((plain ? L"create " : L"create in another way ") + Root(root) + path);
    if (self_->refusedCreation == self_->creations_++) return ERROR_ACCESS_DENIED;
    return self_->create_.CallOriginal(root, path, reserved, className, options, access, security, key,
                                       disposition);
  }

  static LSTATUS WINAPI Set(HKEY key, const wchar_t* name, DWORD reserved, DWORD type, const BYTE* data,
                            DWORD size) {
    const std::wstring text = reinterpret_cast<const wchar_t*>(data);
    EXPECT_EQ(reserved, 0u);
    EXPECT_EQ(type, DWORD{REG_SZ});
    EXPECT_EQ(size, (text.size() + 1) * 2);
    self_->calls.push_back(std::wstring(L"set ") + name + L"=" + text);
    if (self_->refuseValues) return ERROR_ACCESS_DENIED;
    return self_->set_.CallOriginal(key, name, reserved, type, data, size);
  }

  static LSTATUS WINAPI Delete(HKEY root, const wchar_t* path) {
    self_->calls.push_back(L"delete " + Root(root) + path);
    if (self_->refuseRemoval) return ERROR_ACCESS_DENIED;
    return self_->delete_.CallOriginal(root, path);
  }

  static void WINAPI Notify(LONG event, UINT flags, const void* first, const void* second) {
    EXPECT_EQ(event, 0x08000000);
    EXPECT_EQ(flags, 0u);
    EXPECT_EQ(first, nullptr);
    EXPECT_EQ(second, nullptr);
    self_->calls.push_back(L"notify");
  }

  inline static RegistrationCallsTest* self_ = nullptr;
  int creations_ = 0;
  test::FunctionPatch<decltype(Create)> create_;
  test::FunctionPatch<decltype(Set)> set_;
  test::FunctionPatch<decltype(Delete)> delete_;
  test::FunctionPatch<decltype(Notify)> notify_;
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
    creations_ = 0;
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

// ---- The real client, in the machine's own registry

/// Runs regsvr32 quietly on the built library; the exit code is its own.
DWORD RunRegsvr32(const std::wstring& switches) {
  const test::ChildProcess client(L"regsvr32.exe", switches + L" \"" + test::ExtensionLibraryPath() + L"\"");
  return client.Wait();
}

class RealClientTest : public ::testing::Test {
 protected:
  ~RealClientTest() override { RunRegsvr32(L"/s /u /n /i:S"); }
};

TEST_F(RealClientTest, InstallsAndRemovesExactlyOurKeys) {
  RunRegsvr32(L"/s /u /n /i:S");
  const RegistrySnapshot before = test::TakeRegistrySnapshot(HKEY_LOCAL_MACHINE, L"Software");
  EXPECT_EQ(RunRegsvr32(L"/s /n /i:S"), 0u);
  RegistrySnapshot expected = before;
  RegistrySnapshot written = Written(TenRows(test::ExtensionLibraryPath()));
  written.erase(L"");
  for (const auto& [name, text] : written) expected[name] = text;
  EXPECT_EQ(test::TakeRegistrySnapshot(HKEY_LOCAL_MACHINE, L"Software"), expected);

  EXPECT_EQ(RunRegsvr32(L"/s /u /n /i:S"), 0u);
  RegistrySnapshot after = test::TakeRegistrySnapshot(HKEY_LOCAL_MACHINE, L"Software");
  for (const auto& [name, text] : before) EXPECT_EQ(after.extract(name).mapped(), text);
  for (const auto& [name, text] : after) EXPECT_EQ(text, L"") << "a value was left behind";
}

TEST_F(RealClientTest, WithoutInstallItRegistersNothing) {
  const RegistrySnapshot before = test::TakeRegistrySnapshot(HKEY_LOCAL_MACHINE, L"Software");
  EXPECT_EQ(RunRegsvr32(L"/s"), 0u);
  EXPECT_EQ(test::TakeRegistrySnapshot(HKEY_LOCAL_MACHINE, L"Software"), before);
}

/// Whether an interface is the library's own, or a proxy for it.
bool IsInLibrary(IUnknown* object) {
  const void* const firstMethod = **reinterpret_cast<void***>(object);
  HMODULE module = nullptr;
  ::GetModuleHandleExW(
      GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
      static_cast<const wchar_t*>(firstMethod), &module);
  return module != nullptr && module == ::GetModuleHandleW(L"VeskardShellExt.dll");
}

/// Activates both registered classes in an apartment of the given kind.
void ActivateIn(DWORD apartment, bool expectDirect) {
  std::thread([=] {
    ASSERT_EQ(::CoInitializeEx(nullptr, apartment), S_OK);
    for (const unsigned index : {kContextMenuClass, kFileIconClass}) {
      ComPtr<IUnknown> object;
      EXPECT_EQ(::CoCreateInstance(ClassId(index), nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&object)), S_OK);
      if (object != nullptr) EXPECT_EQ(IsInLibrary(object.Get()), expectDirect) << index;
    }
    ::CoUninitialize();
  }).join();
}

TEST_F(RealClientTest, RegisteredClassesActivateInAnApartmentOfTheirOwn) {
  ASSERT_EQ(RunRegsvr32(L"/s /n /i:S"), 0u);
  ActivateIn(COINIT_APARTMENTTHREADED, true);
  ActivateIn(COINIT_MULTITHREADED, false);
}

TEST_F(RealClientTest, UnregisteredIndicesDoNotActivate) {
  ASSERT_EQ(RunRegsvr32(L"/s /n /i:S"), 0u);
  ASSERT_EQ(::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
  for (const unsigned index : {0u, 1u, 2u, 3u, 4u}) {
    ComPtr<IUnknown> object;
    EXPECT_EQ(::CoCreateInstance(ClassId(index), nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&object)),
              REGDB_E_CLASSNOTREG);
  }
  ::CoUninitialize();
}

}  // namespace
}  // namespace veskard
