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

class RegistrationRoundTest : public testing::Test {
 protected:
  RegistrationRoundTest() {
    // Keys that removal leaves, as any parent of a handler's key, exist before.
    RegisterExtension();
    UnregisterExtension();
  }
  ~RegistrationRoundTest() override { UnregisterExtension(); }

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

TEST_F(RegistrationRoundTest, WritesTheTenValuesAndNothingElse) {
  const RegistrySnapshot before = Machine();
  ASSERT_EQ(RegisterExtension().exitCode, 0u);
  RegistrySnapshot rows;
  for (const WrittenKey& row : TenRows(ExtensionLibraryPath()))
    rows[row.key + L"|" + row.valueName] = L"REG_SZ " + row.data;
  EXPECT_EQ(Added(before, Machine()), rows);
}

TEST_F(RegistrationRoundTest, RemovalLeavesTheRegistryAsItWas) {
  const RegistrySnapshot before = Machine();
  ASSERT_EQ(RegisterExtension().exitCode, 0u);
  ASSERT_NE(Machine(), before);
  ASSERT_EQ(UnregisterExtension().exitCode, 0u);
  EXPECT_EQ(Machine(), before);
}

TEST_F(RegistrationRoundTest, TwiceIsOnce) {
  ASSERT_EQ(RegisterExtension().exitCode, 0u);
  const RegistrySnapshot once = Machine();
  ASSERT_EQ(RegisterExtension().exitCode, 0u);
  EXPECT_EQ(Machine(), once);
}

TEST_F(RegistrationRoundTest, RemovingWhatIsNotThereSucceeds) {
  EXPECT_EQ(UnregisterExtension().exitCode, 0u);
  EXPECT_EQ(UnregisterExtension().exitCode, 0u);
}

TEST_F(RegistrationRoundTest, ClassesActivateOnlyWhileRegistered) {
  const ExtensionClasses classes;
  EXPECT_THROW(classes.NewMenuHandler(L"C:\\a"), ToolError);
  RegisterExtension();
  EXPECT_TRUE(classes.NewMenuHandler(L"C:\\a"));
  EXPECT_TRUE(classes.NewMenuHandler(L"C:\\"));
  EXPECT_TRUE(classes.NewMenuHandler(L"C:\\a.lnk"));
  EXPECT_TRUE(classes.NewIconHandler());
}

TEST_F(RegistrationRoundTest, ThePlainWayOfRegisteringDoesNothing) {
  const RegistrySnapshot before = Machine();
  const ExtensionLibrary library;
  EXPECT_EQ(library.DllRegisterServer(), S_OK);
  EXPECT_EQ(Machine(), before);
}

}  // namespace
}  // namespace veskard::test
