// The packages that Windows knows, by a registry of the test's own and by package functions
// that the test answers.
#include "tools/shellprobe/PackageStore.h"

#include <windows.h>

#include <gmock/gmock.h>

#include <cstring>

#include "tests/support/Patched.h"
#include "tests/support/RegistrySandbox.h"

namespace veskard::test {
namespace {

using testing::ElementsAre;
using testing::FieldsAre;
using testing::IsEmpty;

constexpr wchar_t kName[] = L"Nimbrel.VeskardAgent";
constexpr wchar_t kOurs[] = L"Nimbrel.VeskardAgent_1.2.3.0_neutral__8wekyb3d8bbwe";
constexpr wchar_t kOlder[] = L"Nimbrel.VeskardAgent_1.2.2.0_neutral__8wekyb3d8bbwe";
constexpr wchar_t kId[] = L"8wekyb3d8bbwe";
const std::wstring kUserKey =
    L"Software\\Classes\\Local Settings\\Software\\Microsoft\\Windows\\CurrentVersion\\AppModel\\Repository\\"
    L"Packages\\";
const std::wstring kMachineKey =
    L"Software\\Microsoft\\Windows\\CurrentVersion\\Appx\\AppxAllUserStore\\Applications\\";

LONG WINAPI FindOne(const wchar_t* family, UINT32 filters, UINT32* count, wchar_t** names, UINT32* length,
                    wchar_t* buffer, UINT32*) {
  EXPECT_STREQ(family, L"Nimbrel.VeskardAgent_8wekyb3d8bbwe");
  EXPECT_EQ(filters, 0x10u);
  const UINT32 needed = static_cast<UINT32>(std::size(kOurs));
  const bool fits = names != nullptr && buffer != nullptr && *count >= 1 && *length >= needed;
  *count = 1;
  *length = needed;
  if (!fits) return ERROR_INSUFFICIENT_BUFFER;
  ::lstrcpyW(buffer, kOurs);
  names[0] = buffer;
  return ERROR_SUCCESS;
}

LONG WINAPI FindNone(const wchar_t*, UINT32, UINT32* count, wchar_t**, UINT32* length, wchar_t*, UINT32*) {
  *count = *length = 0;
  return ERROR_SUCCESS;
}

LONG WINAPI SayFolder(const wchar_t* fullName, int type, UINT32* length, wchar_t* path) {
  EXPECT_EQ(type, 5);
  if (std::wcscmp(fullName, kOurs) != 0) return ERROR_NOT_FOUND;
  constexpr wchar_t kFolder[] = L"C:\\Program Files\\Agent";
  const bool fits = path != nullptr && *length >= std::size(kFolder);
  *length = static_cast<UINT32>(std::size(kFolder));
  if (!fits) return ERROR_INSUFFICIENT_BUFFER;
  ::lstrcpyW(path, kFolder);
  return ERROR_SUCCESS;
}

using FindFunction = decltype(&FindOne);
using PathFunction = decltype(&SayFolder);

class PackageStoreTest : public testing::Test {
 protected:
  /// Packages as a system finds them that has these two functions, or has none where null.
  static std::vector<KnownPackage> Find(FindFunction find = nullptr, PathFunction path = nullptr) {
    const Patched<&::GetProcAddress> search(
        "GetProcAddress", [&](auto original, HMODULE module, const char* name) -> FARPROC {
          if (std::strcmp(name, "FindPackagesByPackageFamily") == 0)
            return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(find));
          if (std::strcmp(name, "GetPackagePathByFullName2") == 0)
            return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(path));
          return original(module, name);
        });
    return FindPackages(kName, kId);
  }

  static void KeepForUser(const std::wstring& fullName) {
    WriteRegistryText(HKEY_CURRENT_USER, kUserKey + fullName, L"PackageID", fullName);
  }
  static void KeepForAll(const std::wstring& fullName) {
    WriteRegistryText(HKEY_LOCAL_MACHINE, kMachineKey + fullName, L"Path", L"C:\\WindowsApps");
  }

  const RegistrySandbox sandbox_;
};

TEST_F(PackageStoreTest, NothingIsKnown) {
  EXPECT_THAT(Find(), IsEmpty());
  EXPECT_THAT(Find(&FindNone, &SayFolder), IsEmpty());
}

TEST_F(PackageStoreTest, TheRegistrySaysForWhom) {
  KeepForUser(kOurs);
  KeepForAll(kOurs);
  KeepForAll(kOlder);
  EXPECT_THAT(Find(), ElementsAre(FieldsAre(kOlder, false, true, L""), FieldsAre(kOurs, true, true, L"")));
}

TEST_F(PackageStoreTest, OtherNamesAreOtherPackages) {
  KeepForUser(L"Nimbrel.VeskardAgentOther_1.2.3.0_neutral__8wekyb3d8bbwe");
  KeepForUser(L"Other_1.0.0.0_x64__8wekyb3d8bbwe");
  KeepForAll(L"Nimbrel.Veskard");
  EXPECT_THAT(Find(), IsEmpty());
}

TEST_F(PackageStoreTest, AnotherPublishersPackageIsFound) {
  KeepForUser(L"Nimbrel.VeskardAgent_9.0.0.0_neutral__0000000000000");
  EXPECT_THAT(
      Find(&FindNone, &SayFolder),
      ElementsAre(FieldsAre(L"Nimbrel.VeskardAgent_9.0.0.0_neutral__0000000000000", true, false, L"")));
}

TEST_F(PackageStoreTest, WindowsOwnFunctionsAreAsked) {
  EXPECT_THAT(Find(&FindOne, &SayFolder),
              ElementsAre(FieldsAre(kOurs, true, false, L"C:\\Program Files\\Agent")));
}

TEST_F(PackageStoreTest, BothSourcesGiveOnePackage) {
  KeepForUser(kOurs);
  KeepForAll(kOurs);
  EXPECT_THAT(Find(&FindOne, &SayFolder),
              ElementsAre(FieldsAre(kOurs, true, true, L"C:\\Program Files\\Agent")));
}

TEST_F(PackageStoreTest, ThisSystemAnswersWithoutThem) {
  EXPECT_THAT(FindPackages(kName, L""), IsEmpty());
}

}  // namespace
}  // namespace veskard::test
