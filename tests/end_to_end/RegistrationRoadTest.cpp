// regsvr32 there and back.
#include <gmock/gmock.h>

#include "tests/end_to_end/Registrar.h"
#include "tests/support/ExtensionLibrary.h"
#include "tests/support/RegistrySnapshot.h"
#include "tools/common/ToolError.h"
#include "tools/shellprobe/ComApartment.h"
#include "tools/shellprobe/ExtensionClasses.h"
#include "tools/shellprobe/ProbeExit.h"

namespace veskard::test {
namespace {

using testing::Pair;
using testing::UnorderedElementsAre;

class RegistrationRoadTest : public testing::Test {
 protected:
  RegistrationRoadTest() {
    // Keys that removal leaves, as any parent of a handler's key, exist before.
    RegisterExtension();
    UnregisterExtension();
  }
  ~RegistrationRoadTest() override { UnregisterExtension(); }

  static RegistrySnapshot Machine() { return TakeRegistrySnapshot(HKEY_LOCAL_MACHINE, L"Software\\Classes"); }

  /// The values of the second that the first has not.
  static RegistrySnapshot Added(const RegistrySnapshot& before, const RegistrySnapshot& after) {
    RegistrySnapshot added;
    for (const auto& [place, value] : after) {
      if (place.find(L'|') != std::wstring::npos && !before.contains(place)) added[place] = value;
    }
    return added;
  }

  ComApartment apartment_;
};

TEST_F(RegistrationRoadTest, WritesTheTenValuesAndNothingElse) {
  const RegistrySnapshot before = Machine();
  ASSERT_EQ(RegisterExtension().exitCode, 0u);
  const std::wstring name = L"REG_SZ Nimbrel Veskard Agent Service 2.7.2";
  const std::wstring menuId = L"{8AF59405-CC05-0002-0702-AE6472CC92B2}";
  const std::wstring iconId = L"{8AF59406-CC05-0002-0702-AE6472CC92B2}";
  const std::wstring classes = L"Software\\Classes\\";
  const std::wstring menuClass = classes + L"CLSID\\" + menuId;
  const std::wstring iconClass = classes + L"CLSID\\" + iconId;
  const std::wstring handler = L"\\shellex\\ContextMenuHandlers\\Nimbrel Veskard Agent Service 2.7.2|";
  const std::wstring library = L"REG_SZ " + ExtensionLibraryPath();
  EXPECT_THAT(Added(before, Machine()),
              UnorderedElementsAre(
                  Pair(menuClass + L"|", name), Pair(menuClass + L"\\InprocServer32|", library),
                  Pair(menuClass + L"\\InprocServer32|ThreadingModel", L"REG_SZ Apartment"),
                  Pair(classes + L"*" + handler, L"REG_SZ " + menuId),
                  Pair(classes + L"lnkfile" + handler, L"REG_SZ " + menuId),
                  Pair(classes + L"Directory" + handler, L"REG_SZ " + menuId), Pair(iconClass + L"|", name),
                  Pair(iconClass + L"\\InprocServer32|", library),
                  Pair(iconClass + L"\\InprocServer32|ThreadingModel", L"REG_SZ Apartment"),
                  Pair(classes + L"Nimbrel Veskard Agent\\shellex\\IconHandler|", L"REG_SZ " + iconId)));
}

TEST_F(RegistrationRoadTest, RemovalLeavesTheRegistryAsItWas) {
  const RegistrySnapshot before = Machine();
  ASSERT_EQ(RegisterExtension().exitCode, 0u);
  ASSERT_NE(Machine(), before);
  ASSERT_EQ(UnregisterExtension().exitCode, 0u);
  EXPECT_EQ(Machine(), before);
}

TEST_F(RegistrationRoadTest, TwiceIsOnce) {
  ASSERT_EQ(RegisterExtension().exitCode, 0u);
  const RegistrySnapshot once = Machine();
  ASSERT_EQ(RegisterExtension().exitCode, 0u);
  EXPECT_EQ(Machine(), once);
}

TEST_F(RegistrationRoadTest, RemovingWhatIsNotThereSucceeds) {
  EXPECT_EQ(UnregisterExtension().exitCode, 0u);
  EXPECT_EQ(UnregisterExtension().exitCode, 0u);
}

TEST_F(RegistrationRoadTest, ClassesActivateOnlyWhileRegistered) {
  const ExtensionClasses classes;
  EXPECT_THROW(classes.NewMenuHandler(L"C:\\a"), ToolError);
  RegisterExtension();
  EXPECT_TRUE(classes.NewMenuHandler(L"C:\\a"));
  EXPECT_TRUE(classes.NewMenuHandler(L"C:\\"));
  EXPECT_TRUE(classes.NewMenuHandler(L"C:\\a.lnk"));
  EXPECT_TRUE(classes.NewIconHandler());
}

TEST_F(RegistrationRoadTest, ThePlainWayOfRegisteringDoesNothing) {
  const RegistrySnapshot before = Machine();
  const ExtensionLibrary library;
  EXPECT_EQ(library.DllRegisterServer(), S_OK);
  EXPECT_EQ(Machine(), before);
}

}  // namespace
}  // namespace veskard::test
