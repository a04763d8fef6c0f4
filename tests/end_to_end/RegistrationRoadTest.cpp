// regsvr32 there and back.
#include <gmock/gmock.h>

#include "tests/end_to_end/Registrar.h"
#include "tests/shellext/RegisteredValues.h"
#include "tests/support/ExtensionLibrary.h"
#include "tests/support/RegistrySnapshot.h"
#include "tools/common/ToolError.h"
#include "tools/shellprobe/ComApartment.h"
#include "tools/shellprobe/ExtensionClasses.h"
#include "tools/shellprobe/ProbeExit.h"

namespace veskard::test {
namespace {

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
  RegistrySnapshot rows;
  for (const WrittenKey& row : TenRows(ExtensionLibraryPath()))
    rows[row.key + L"|" + row.valueName] = L"REG_SZ " + row.data;
  EXPECT_EQ(Added(before, Machine()), rows);
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
