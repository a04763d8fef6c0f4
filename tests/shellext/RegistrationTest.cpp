#include "shellext/Registration.h"

#include <gmock/gmock.h>

namespace veskard {
namespace {

using ::testing::ElementsAre;

TEST(RegistrationNamesTest, CarryTheVersion) {
  EXPECT_THAT(
      MakeRegistrationNames(),
      ElementsAre(L"Nimbrel Veskard Agent Service 2.7.2",
                  L"Software\\Classes\\*\\shellex\\ContextMenuHandlers\\"
                  L"Nimbrel Veskard Agent Service 2.7.2",
                  L"Software\\Classes\\lnkfile\\shellex\\ContextMenuHandlers\\"
                  L"Nimbrel Veskard Agent Service 2.7.2",
                  L"Software\\Classes\\Directory\\shellex\\ContextMenuHandlers\\"
                  L"Nimbrel Veskard Agent Service 2.7.2",
                  L"Software\\Classes\\Nimbrel Veskard Agent\\shellex\\IconHandler",
                  L"{8AF59405-CC05-0002-0702-AE6472CC92B2}", L"{8AF59406-CC05-0002-0702-AE6472CC92B2}"));
}

TEST(ServerPathTest, AFreshCopyIsRegisteredUnderItsFinalName) {
  EXPECT_EQ(ServerPathFor(L"C:\\x\\ext_new.dll"), L"C:\\x\\ext.dll");
  EXPECT_EQ(ServerPathFor(L"C:\\_new.dll"), L"C:\\.dll");
}

TEST(ServerPathTest, OnlyTheExactEndingCounts) {
  for (const wchar_t* path :
       {L"C:\\x\\ext.dll", L"C:\\x\\ext_NEW.dll", L"C:\\x\\ext_new.DLL", L"C:\\x\\ext_new.dll.bak",
        L"C:\\_new.dll\\ext.dll", L"_new.dll", L"new.dll", L""})
    EXPECT_EQ(ServerPathFor(path), path);
}

TEST(ServerPathTest, NineCharactersAreEnough) {
  EXPECT_EQ(ServerPathFor(L"x_new.dll"), L"x.dll");
}

TEST(RegistrationTableTest, EveryRowIsATextUnderTheLocalMachine) {
  const std::vector<RegistryEntry> table = MakeRegistrationTable(MakeRegistrationNames(), L"C:\\x.dll");
  ASSERT_EQ(table.size(), 11u);
  for (size_t row = 0; row < 10; ++row) {
    EXPECT_EQ(table[row].root, HKEY_LOCAL_MACHINE);
    EXPECT_EQ(table[row].valueType, DWORD{REG_SZ});
  }
  EXPECT_EQ(table[10].root, nullptr);
}

}  // namespace
}  // namespace veskard
