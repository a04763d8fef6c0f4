// Whoever can write beside a host, or into the folder that it works in, must not get code
// run in it by way of the extension.
#include <gtest/gtest.h>

#include <string>

#include "tests/support/ChildProcess.h"
#include "tests/support/ExtensionLibrary.h"
#include "tests/support/FileTools.h"
#include "tests/support/ScratchFolder.h"

namespace veskard::test {
namespace {

void Copy(const std::wstring& program, const std::wstring& target) {
  ASSERT_TRUE(::CopyFileW(BuiltTestProgram(program).c_str(), target.c_str(), TRUE)) << ::GetLastError();
}

TEST(PlantedLibrariesTest, OnlyTheSystemsOwnAreLoadedAndOnlyWhenTheyAreNeeded) {
  const ScratchFolder besideHost, currentFolder;
  for (const wchar_t* name : {L"gdiplus.dll", L"mpr.dll"})
    for (const ScratchFolder* folder : {&besideHost, &currentFolder})
      Copy(L"planted_library.dll", *folder / name);
  Copy(L"planted_library.dll", besideHost / L"planted_for_certain.dll");
  Copy(L"planted_host.exe", besideHost / L"planted_host.exe");
  const ChildProcess host(besideHost / L"planted_host.exe",
                          L"\"" + ExtensionLibraryPath() + L"\" \"" + currentFolder.Path() + L"\"");
  EXPECT_EQ(host.Wait(), 0u) << "the codes are in PlantedHost.cpp";
}

}  // namespace
}  // namespace veskard::test
