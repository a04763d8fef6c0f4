// The built library and the archive that the build packed, beside each other.
#include <gtest/gtest.h>
#include <windows.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "core/ModuleHandle.h"
#include "core/WindowsOwners.h"
#include "lang/ResourceData.h"

namespace veskard {
namespace {

TEST(LibraryArchiveTest, LibraryCarriesTheArchiveOfTheBuild) {
  const std::filesystem::path build =
      std::filesystem::path(ReadModulePath(nullptr)).parent_path().parent_path();
  const std::filesystem::path library = build / L"VeskardShellExt.dll";
  const UniqueModule module(::LoadLibraryExW(library.c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE));
  ASSERT_TRUE(module);
  const ResourceData archive(module.Get(), 111, L"BIN");
  ASSERT_EQ(archive.Status(), DataStatus::kReady);

  std::ifstream file(build / L"lang" / L"language.zip", std::ios::binary);
  const std::string packed((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  EXPECT_EQ(packed.size(), archive.Bytes().size());
  EXPECT_TRUE(packed == archive.Bytes());
}

}  // namespace
}  // namespace veskard
