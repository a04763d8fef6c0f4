#include "tools/shellprobe/Machine.h"

#include <gmock/gmock.h>

#include <cstring>

#include "tests/support/Patched.h"

namespace veskard::test {
namespace {

using testing::ElementsAre;
using testing::FieldsAre;

BOOL WINAPI SayArm64(HANDLE, USHORT* process, USHORT* native) {
  *process = IMAGE_FILE_MACHINE_AMD64;
  *native = 0xAA64;
  return TRUE;
}

/// The system as it answers when IsWow64Process2 is this function; null: it has none.
Machine ReadMachineWith(BOOL(WINAPI* isWow64Process2)(HANDLE, USHORT*, USHORT*)) {
  const Patched<&::GetProcAddress> search(
      "GetProcAddress", [&](auto original, HMODULE module, const char* name) -> FARPROC {
        if (std::strcmp(name, "IsWow64Process2") != 0) return original(module, name);
        return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(isWow64Process2));
      });
  return ReadMachine();
}

TEST(MachineTest, ExplorersViewComesFirst) {
  constexpr auto k32 = Architecture::k32Bit;
  constexpr auto k64 = Architecture::k64Bit;
  constexpr auto kArm = Architecture::kArm64;
  EXPECT_THAT(RegistryViewsOf({k64, true, 0}),
              ElementsAre(FieldsAre(KEY_WOW64_64KEY, k64), FieldsAre(KEY_WOW64_32KEY, k32)));
  EXPECT_THAT(RegistryViewsOf({kArm, true, 0}),
              ElementsAre(FieldsAre(KEY_WOW64_64KEY, kArm), FieldsAre(KEY_WOW64_32KEY, k32)));
  EXPECT_THAT(RegistryViewsOf({k64, false, 0}), ElementsAre(FieldsAre(KEY_WOW64_64KEY, k64)));
  EXPECT_THAT(RegistryViewsOf({k32, true, 0}), ElementsAre(FieldsAre(KEY_WOW64_32KEY, k32)));
}

// An x64 program hears "x64" from every other function.
TEST(MachineTest, WindowsOnArmIsKnownByIsWow64Process2) {
  EXPECT_EQ(ReadMachineWith(&SayArm64).windows, Architecture::kArm64);
}

TEST(MachineTest, AnOlderWindowsWithoutItIsAskedInTheOldWay) {
  const Machine machine = ReadMachineWith(nullptr);
  EXPECT_EQ(machine.windows, ReadMachine().windows);
  EXPECT_NE(machine.windows, Architecture::kNone);
}

TEST(MachineTest, A32BitHalfIsThereWithItsFolder) {
  const bool is32Bit = OwnArchitecture() == Architecture::k32Bit;
  const Patched<&::GetSystemWow64DirectoryW> none("GetSystemWow64DirectoryW", [](auto...) { return 0u; });
  EXPECT_EQ(ReadMachine().runs32Bit, is32Bit);
}

TEST(MachineTest, A32BitHalfThatWasLeftOutIsMissed) {
  const bool is32Bit = OwnArchitecture() == Architecture::k32Bit;
  const Patched<&::GetSystemWow64DirectoryW> empty("GetSystemWow64DirectoryW",
                                                   [](auto, wchar_t* folder, UINT) -> UINT {
                                                     ::lstrcpyW(folder, L"C:\\missing");
                                                     return 10;
                                                   });
  EXPECT_EQ(ReadMachine().runs32Bit, is32Bit);
}

TEST(MachineTest, A32BitHalfNeedsItsKernel) {
  const Patched<&::GetSystemWow64DirectoryW> full(
      "GetSystemWow64DirectoryW",
      [](auto, wchar_t* folder, UINT size) { return ::GetSystemDirectoryW(folder, size); });
  EXPECT_TRUE(ReadMachine().runs32Bit);
}

TEST(MachineTest, TheBuildIsRead) {
  EXPECT_GE(ReadMachine().build, 7600u);  // Windows 7, the oldest that runs this program
}

}  // namespace
}  // namespace veskard::test
