// Registering and unregistering, as regsvr32 does it: a process with the library
// freshly loaded.
#include <gmock/gmock.h>

#include "tests/shellext/RegisteredValues.h"
#include "tests/torture/Scenario.h"

namespace veskard::test {
namespace {

using testing::AnyOf;

class Registration final : public ExtensionScenario {
  bool IsOnce() const override { return true; }

  void Prepare(const ExtensionLibrary&) override {
    // What the last round has left is of no meaning here: a first registration.
    ::RegDeleteTreeW(HKEY_LOCAL_MACHINE, L"Software");
  }

  void Run(const ExtensionLibrary& library) override { result_ = library.DllInstall(TRUE, L"S"); }

  void Check(const Struck& struck) override {
    const RegistrySnapshot whole = Written(TenRows(ExtensionLibraryPath()));
    const RegistrySnapshot found = TakeRegistrySnapshot(HKEY_LOCAL_MACHINE);
    if (result_ == S_OK && !struck.Only("RegSetValueExW") && !struck.Everything()) {
      EXPECT_EQ(found, whole);
    }
    if (struck.Nothing()) {
      EXPECT_EQ(result_, S_OK);
    } else {
      EXPECT_THAT(result_, AnyOf(S_OK, struck.Memory() ? E_OUTOFMEMORY : E_FAIL));
    }
    // Rows that are written stay, but each is right.
    for (const auto& [name, data] : found) {
      EXPECT_TRUE(whole.contains(name) && whole.at(name) == data)
          << testing::PrintToString(name) << " = " << testing::PrintToString(data);
    }
  }

  HRESULT result_ = S_OK;
};

class Unregistration final : public ExtensionScenario {
  void Prepare(const ExtensionLibrary& library) override {
    EXPECT_EQ(library.DllInstall(TRUE, L"S"), S_OK);
    // Keys of other programs.
    WriteRegistryText(HKEY_LOCAL_MACHINE, kStranger, L"", L"stays");
  }

  void Run(const ExtensionLibrary& library) override { result_ = library.DllInstall(FALSE, L"S"); }

  void Check(const Struck& struck) override {
    if (struck.Memory()) {
      EXPECT_THAT(result_, AnyOf(S_OK, E_OUTOFMEMORY));
    } else {
      EXPECT_EQ(result_, S_OK);
    }
    const RegistrySnapshot found = TakeRegistrySnapshot(HKEY_LOCAL_MACHINE);
    EXPECT_TRUE(found.contains(kStranger + L"|"));
    const bool mayStay = struck.function == "RegDeleteKeyW" || struck.Everything() || result_ != S_OK;
    for (const std::wstring& key : {kMenuClass, kIconClass, kAllFiles, kShortcuts, kFolders, kIconHandler})
      EXPECT_TRUE(mayStay || !found.contains(key)) << testing::PrintToString(key);
  }

  const std::wstring kStranger = kClasses + L"*\\shellex\\ContextMenuHandlers\\Somebody else";
  HRESULT result_ = S_OK;
};

}  // namespace

std::unique_ptr<Scenario> NewRegistration() {
  return std::make_unique<Registration>();
}

std::unique_ptr<Scenario> NewUnregistration() {
  return std::make_unique<Unregistration>();
}

}  // namespace veskard::test
