// Registration by the real client in the machine's own registry, and activation
// by what it wrote. COM keeps the library loaded from then on, which is why these
// tests are a program of their own.
#include <gtest/gtest.h>
#include <wrl/client.h>

#include <thread>

#include "core/WindowsOwners.h"
#include "shellext/ClassIds.h"
#include "tests/shellext/RegisteredValues.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/ExtensionLibrary.h"

namespace veskard {
namespace {

using Microsoft::WRL::ComPtr;
using test::RegistrySnapshot;

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

TEST_F(RealClientTest, WithoutInstallItRemovesNothing) {
  ASSERT_EQ(RunRegsvr32(L"/s /n /i:S"), 0u);
  const RegistrySnapshot before = test::TakeRegistrySnapshot(HKEY_LOCAL_MACHINE, L"Software");
  EXPECT_EQ(RunRegsvr32(L"/s /u"), 0u);
  EXPECT_EQ(test::TakeRegistrySnapshot(HKEY_LOCAL_MACHINE, L"Software"), before);
}

/// The registration of another bitness in the same registry: its classes lie in the
/// other view, everything else is shared with ours.
class TwoViewsTest : public RealClientTest {
 protected:
  TwoViewsTest() { RunRegsvr32(L"/s /u /n /i:S"); }
  ~TwoViewsTest() override {
    for (const std::wstring& classKey : {kMenuClass, kIconClass}) RemoveFromOtherView(classKey);
  }

  static void AddToOtherView(const std::wstring& key) {
    UniqueRegKey made;
    ASSERT_EQ(::RegCreateKeyExW(HKEY_LOCAL_MACHINE, key.c_str(), 0, nullptr, 0, KEY_WRITE | kOtherView,
                                nullptr, made.Out(), nullptr),
              ERROR_SUCCESS);
  }
  /// With everything below it.
  static void RemoveFromOtherView(const std::wstring& key) {
    UniqueRegKey opened;
    if (::RegOpenKeyExW(HKEY_LOCAL_MACHINE, key.c_str(), 0, KEY_ALL_ACCESS | kOtherView, opened.Out()) !=
        ERROR_SUCCESS)
      return;
    ::RegDeleteTreeW(opened.Get(), nullptr);
    ::RegDeleteKeyExW(HKEY_LOCAL_MACHINE, key.c_str(), kOtherView, 0);
  }
  static bool IsInOtherView(const std::wstring& key) {
    UniqueRegKey opened;
    return ::RegOpenKeyExW(HKEY_LOCAL_MACHINE, key.c_str(), 0, KEY_READ | kOtherView, opened.Out()) ==
           ERROR_SUCCESS;
  }

  /// What this version has below Software\Classes, as our view shows it.
  static RegistrySnapshot OwnKeys() {
    RegistrySnapshot own;
    for (const auto& row : TenRows(L"")) own.merge(test::TakeRegistrySnapshot(HKEY_LOCAL_MACHINE, row.key));
    return own;
  }
  static RegistrySnapshot KeysWith(const std::wstring& classId, const std::vector<std::wstring>& keys) {
    RegistrySnapshot snapshot;
    for (const std::wstring& key : keys) {
      snapshot[key] = L"";
      snapshot[key + L"|"] = L"REG_SZ " + classId;
    }
    return snapshot;
  }
  static RegistrySnapshot SharedByMenu() { return KeysWith(kMenuId, {kAllFiles, kShortcuts, kFolders}); }
  static RegistrySnapshot SharedByIcons() { return KeysWith(kIconId, {kIconHandler}); }

  const std::wstring menuServer = kMenuClass + L"\\InprocServer32";
  const std::wstring iconServer = kIconClass + L"\\InprocServer32";

 private:
  static constexpr REGSAM kOtherView = sizeof(void*) == 8 ? KEY_WOW64_32KEY : KEY_WOW64_64KEY;
};

TEST_F(TwoViewsTest, RemovingLeavesTheOtherBitnessItsMenuAndItsIcons) {
  AddToOtherView(menuServer);
  AddToOtherView(iconServer);
  RegistrySnapshot shared = SharedByMenu();
  shared.merge(SharedByIcons());
  ASSERT_EQ(RunRegsvr32(L"/s /n /i:S"), 0u);
  for (int times = 0; times < 2; ++times) {
    EXPECT_EQ(RunRegsvr32(L"/s /u /n /i:S"), 0u);
    EXPECT_EQ(OwnKeys(), shared);
    EXPECT_TRUE(IsInOtherView(menuServer));
    EXPECT_TRUE(IsInOtherView(iconServer));
  }
}

TEST_F(TwoViewsTest, TheLastToGoTakesTheSharedKeysAlong) {
  AddToOtherView(menuServer);
  AddToOtherView(iconServer);
  ASSERT_EQ(RunRegsvr32(L"/s /n /i:S"), 0u);
  RemoveFromOtherView(kMenuClass);
  RemoveFromOtherView(kIconClass);
  EXPECT_EQ(RunRegsvr32(L"/s /u /n /i:S"), 0u);
  EXPECT_EQ(OwnKeys(), RegistrySnapshot());
}

TEST_F(TwoViewsTest, EachClassIsJudgedByItself) {
  AddToOtherView(menuServer);
  ASSERT_EQ(RunRegsvr32(L"/s /n /i:S"), 0u);
  EXPECT_EQ(RunRegsvr32(L"/s /u /n /i:S"), 0u);
  EXPECT_EQ(OwnKeys(), SharedByMenu());

  RemoveFromOtherView(kMenuClass);
  AddToOtherView(iconServer);
  ASSERT_EQ(RunRegsvr32(L"/s /n /i:S"), 0u);
  EXPECT_EQ(RunRegsvr32(L"/s /u /n /i:S"), 0u);
  EXPECT_EQ(OwnKeys(), SharedByIcons());
}

TEST_F(TwoViewsTest, AClassWithoutALibraryKeepsNothing) {
  AddToOtherView(kMenuClass);
  AddToOtherView(kIconClass);
  ASSERT_EQ(RunRegsvr32(L"/s /n /i:S"), 0u);
  EXPECT_EQ(RunRegsvr32(L"/s /u /n /i:S"), 0u);
  EXPECT_EQ(OwnKeys(), RegistrySnapshot());
}

TEST_F(TwoViewsTest, RepairingBesideTheOtherBitnessWritesTheTenValues) {
  AddToOtherView(menuServer);
  AddToOtherView(iconServer);
  for (int times = 0; times < 2; ++times) {
    EXPECT_EQ(RunRegsvr32(L"/s /n /i:S"), 0u);
    RegistrySnapshot found = OwnKeys();
    for (const auto& row : TenRows(test::ExtensionLibraryPath()))
      EXPECT_EQ(found[row.key + L"|" + row.valueName], L"REG_SZ " + row.data);
  }
}

/// Whether an interface is the library's own, or a proxy for it.
bool IsInLibrary(IUnknown* object) {
  const void* const firstMethod = **reinterpret_cast<void***>(object);
  HMODULE module = nullptr;
  ::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       static_cast<const wchar_t*>(firstMethod), &module);
  return module != nullptr && module == ::GetModuleHandleW(L"VeskardShellExt.dll");
}

/// Activates both registered classes in an apartment of the given kind.
void ActivateIn(DWORD apartment, bool expectDirect) {
  std::thread([=] {
    ASSERT_EQ(::CoInitializeEx(nullptr, apartment), S_OK);
    for (const unsigned index : {kContextMenuClass, kFileIconClass}) {
      ComPtr<IUnknown> object;
      EXPECT_EQ(::CoCreateInstance(ClassId(index), nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&object)),
                S_OK);
      EXPECT_TRUE(object != nullptr && IsInLibrary(object.Get()) == expectDirect) << index;
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
