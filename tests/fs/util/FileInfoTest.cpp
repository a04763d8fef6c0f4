#include "fs/util/FileInfo.h"

#include <windows.h>

#include <aclapi.h>
#include <gtest/gtest.h>
#include <sddl.h>

#include <array>

#include "fs/util/NtFunctions.h"
#include "fs/util/OpenMode.h"
#include "fs/util/Trace.h"
#include "tests/fs/util/SeenOpen.h"
#include "tests/support/FileTools.h"
#include "tests/support/Patched.h"
#include "tests/support/ScratchFolder.h"
#include "tests/support/WatchedCalls.h"

namespace veskard {
namespace {

using test::Faults;
using test::Patched;
using test::WriteBytes;

constexpr uint32_t kAllFlags[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};

class FileInfoTest : public testing::Test {
 protected:
  test::ScratchFolder folder_;
  const std::wstring path_ = folder_ / L"File.txt";

  void SetUp() override { WriteBytes(path_, "12345"); }
  static bool Opens(uint32_t flags) { return (flags & (kRefreshByOpening | kRefreshPathOnDisk)) != 0; }
};

TEST_F(FileInfoTest, MakeFileInfoLooksThePathUp) {
  const auto info = MakeFileInfo(path_);
  EXPECT_EQ(info->Path(), path_);
  EXPECT_EQ(info->Error(), 0u);
  EXPECT_TRUE(info->Exists());
  EXPECT_TRUE(info->IsFile());
  EXPECT_FALSE(info->IsDirectory());
  EXPECT_FALSE(info->IsReparsePoint());
  EXPECT_FALSE(info->IsAttributeBit3());
  EXPECT_EQ(info->GetSize(), 5u);
  EXPECT_EQ(info->LinkCount(), 0u);
  EXPECT_EQ(info->PathOnDisk(), L"");
  EXPECT_EQ(info->GetOwner(), L"");
}

TEST_F(FileInfoTest, ANewRecordIsEmpty) {
  const FileInfoImpl info(path_);
  EXPECT_EQ(info.Error(), 0u);
  EXPECT_TRUE(info.Exists());
  EXPECT_EQ(info.GetSize(), 0u);
  EXPECT_EQ(info.GetVolumeSerial(), 0);
  EXPECT_TRUE(info.GetStreams().empty());
  EXPECT_EQ(&info.GetStreams(), &FileInfoImpl(L"other").GetStreams());  // one empty list for all
}

TEST_F(FileInfoTest, EveryCombinationOfFlagsDescribesTheFile) {
  for (const uint32_t flags : kAllFlags) {
    FileInfoImpl info(path_);
    ASSERT_TRUE(info.Refresh(flags)) << flags;
    EXPECT_EQ(info.Error(), 0u) << flags;
    EXPECT_TRUE(info.IsFile()) << flags;
    EXPECT_EQ(info.GetSize(), 5u) << flags;
    EXPECT_GT(info.GetLastWriteTime(), 1700000000u) << flags;
    EXPECT_EQ(info.LinkCount(), Opens(flags) ? 1u : 0u) << flags;
    const auto [high, low] = info.GetFileIndex();
    EXPECT_EQ(high != 0 || low != 0, Opens(flags)) << flags;
    EXPECT_EQ(info.PathOnDisk().empty(), (flags & kRefreshPathOnDisk) == 0) << flags;
    EXPECT_EQ(info.GetAccessList().empty(), (flags & kRefreshSecurity) == 0) << flags;
  }
}

TEST_F(FileInfoTest, EveryCombinationOfFlagsDescribesAFolder) {
  for (const uint32_t flags : kAllFlags) {
    FileInfoImpl info(folder_.Path());
    ASSERT_TRUE(info.Refresh(flags)) << flags;
    EXPECT_FALSE(info.IsFile());
    EXPECT_TRUE(info.IsDirectory());
  }
}

TEST_F(FileInfoTest, EveryCombinationOfFlagsMissesAMissingPath) {
  for (const uint32_t flags : kAllFlags) {
    FileInfoImpl info(folder_ / L"missing");
    EXPECT_FALSE(info.Refresh(flags)) << flags;
    EXPECT_EQ(info.Error(), 2u) << flags;
    EXPECT_FALSE(info.Exists());
    EXPECT_FALSE(info.IsFile());
    EXPECT_EQ(info.GetVolumeSerial(), -1);
    EXPECT_EQ(info.GetOwner(), L"");
  }
}

TEST_F(FileInfoTest, OtherFlagBitsAreIgnored) {
  FileInfoImpl info(path_);
  EXPECT_TRUE(info.Refresh(0xFFFFFFF0));
  EXPECT_EQ(info.LinkCount(), 0u);
}

TEST_F(FileInfoTest, AMissingFolderGivesError3) {
  const auto info = MakeFileInfo(folder_ / L"missing\\file");
  EXPECT_EQ(info->Error(), 3u);
  EXPECT_FALSE(info->Exists());
}

TEST_F(FileInfoTest, AnInvalidNameGivesError123AndDoesNotExist) {
  const auto info = MakeFileInfo(folder_ / L"in|valid\\file");
  EXPECT_EQ(info->Error(), 123u);
  EXPECT_FALSE(info->Exists());
  FileInfoImpl opened(folder_ / L"in|valid");
  EXPECT_FALSE(opened.Refresh(kRefreshByOpening));
  EXPECT_EQ(opened.Error(), 123u);
  EXPECT_FALSE(opened.Exists());
}

TEST_F(FileInfoTest, AnObjectThatMayNotBeSeenExists) {
  FileInfoImpl info(folder_ / L"missing");
  const test::FailingCall failing("FindFirstFileExW", ERROR_ACCESS_DENIED);
  EXPECT_FALSE(info.Refresh(0));
  EXPECT_EQ(info.Error(), 2u);  // the open's error follows the look-up's

  FileInfoImpl denied(path_);
  const test::FailingCall failingOpen("CreateFileW", ERROR_ACCESS_DENIED);
  EXPECT_FALSE(denied.Refresh(kRefreshByOpening));
  EXPECT_EQ(denied.Error(), 5u);
  EXPECT_TRUE(denied.Exists());
  EXPECT_FALSE(denied.IsFile());
}

TEST_F(FileInfoTest, ALookUpThatIsDeniedIsFollowedByAnOpen) {
  FileInfoImpl info(folder_.Path());
  const test::FailingCall failing("FindFirstFileExW", ERROR_ACCESS_DENIED);
  EXPECT_TRUE(info.Refresh(0));
  EXPECT_TRUE(info.IsDirectory());
  EXPECT_GE(info.LinkCount(), 1u);
  EXPECT_EQ(info.Error(), 5u);  // success does not clear the look-up's error
  EXPECT_TRUE(info.Exists());
  EXPECT_EQ(info.GetVolumeSerial(), -1);
}

TEST_F(FileInfoTest, AnyOtherLookUpErrorFailsAtOnce) {
  const test::WatchedCalls opens{"CreateFileW"};
  FileInfoImpl info(path_);
  const test::FailingCall failing("FindFirstFileExW", 21);
  EXPECT_FALSE(info.Refresh(0));
  EXPECT_EQ(opens.Of("CreateFileW"), 0);
  EXPECT_EQ(info.Error(), 21u);
  EXPECT_TRUE(info.Exists());
}

TEST_F(FileInfoTest, SuccessDoesNotClearAnOlderError) {
  FileInfoImpl info(folder_ / L"later");
  EXPECT_FALSE(info.Refresh(0));
  WriteBytes(folder_ / L"later", "x");
  EXPECT_TRUE(info.Refresh(0));
  EXPECT_EQ(info.Error(), 2u);
  EXPECT_EQ(info.GetSize(), 1u);
}

TEST_F(FileInfoTest, ANameThatDiffersInLetterCaseIsNotFoundUnderTheExactNameFlag) {
  const std::wstring other = folder_ / L"file.TXT";
  for (const uint32_t flags : kAllFlags) {
    FileInfoImpl info(other);
    const bool exact = (flags & kRefreshExactName) != 0;
    EXPECT_EQ(info.Refresh(flags), !exact) << flags;
    EXPECT_EQ(info.Error(), exact ? 2u : 0u) << flags;
    EXPECT_EQ(info.Exists(), !exact) << flags;
    EXPECT_EQ(info.PathOnDisk().empty(), exact || (flags & kRefreshPathOnDisk) == 0) << flags;
    EXPECT_EQ(info.GetSize(), 5u);  // what was found is kept all the same
  }
}

TEST_F(FileInfoTest, OnlyTheLastComponentIsComparedExactly) {
  std::wstring path = path_;
  path[path.find(L"users")] = L'U';
  for (const uint32_t flags : {1u, 5u, 9u}) {
    FileInfoImpl info(path);
    EXPECT_TRUE(info.Refresh(flags)) << flags;
  }
}

TEST_F(FileInfoTest, AWildcardMatchesNoNameExactly) {
  FileInfoImpl info(folder_ / L"*");
  EXPECT_FALSE(info.Refresh(kRefreshExactName));
  EXPECT_EQ(info.Error(), 2u);
}

TEST_F(FileInfoTest, ThePathOnDiskIsTheFileSystemsSpellingWithTheLongPrefix) {
  FileInfoImpl info(folder_ / L"fILE.tXT");
  ASSERT_TRUE(info.Refresh(kRefreshPathOnDisk));
  EXPECT_TRUE(info.PathOnDisk().starts_with(L"\\\\?\\"));
  EXPECT_TRUE(info.PathOnDisk().ends_with(L"\\File.txt"));
}

TEST_F(FileInfoTest, VolumeSerialIs0AfterALookUpTheVolumesOwnAfterAnOpenAndMinus1AfterAFailure) {
  FileInfoImpl info(path_);
  ASSERT_TRUE(info.Refresh(0));
  EXPECT_EQ(info.GetVolumeSerial(), 0);
  ASSERT_TRUE(info.Refresh(kRefreshByOpening));
  BY_HANDLE_FILE_INFORMATION real;
  ASSERT_TRUE(::GetFileInformationByHandle(OpenByMode(path_, 3, 0).Get(), &real));
  EXPECT_EQ(info.GetVolumeSerial(), int64_t{real.dwVolumeSerialNumber});
  EXPECT_EQ(info.GetFileIndex(), std::make_pair(uint32_t{real.nFileIndexHigh}, uint32_t{real.nFileIndexLow}));
  ASSERT_TRUE(info.Refresh(0));
  EXPECT_EQ(info.GetVolumeSerial(), 0);
  EXPECT_EQ(info.GetFileIndex(), std::make_pair(0u, 0u));
  ::DeleteFileW(path_.c_str());
  ASSERT_FALSE(info.Refresh(0));
  EXPECT_EQ(info.GetVolumeSerial(), -1);
}

TEST_F(FileInfoTest, AnEmptyPathHasNoVolume) {
  const FileInfoImpl info(L"");
  EXPECT_EQ(info.Error(), 0u);
  EXPECT_EQ(info.GetVolumeSerial(), -1);
  EXPECT_NE(MakeFileInfo(L"")->Error(), 0u);
}

// ---- What a look-up answers, field by field.

// Seconds since 1970 of the creation, the last access and the last write.
using LookUpTimes = std::array<uint64_t, 3>;
constexpr LookUpTimes kTimesAtTheBorders = {0, 0xFFFFFFFF, 0x100000000};

FILETIME FileTimeOf(uint64_t seconds) {
  const uint64_t ticks = (11644473600u + seconds) * 10000000u;
  return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

class StrangeLookUpTest : public testing::Test {
 protected:
  LookUpTimes times_ = kTimesAtTheBorders;
  int searchesClosed_ = 0;
  const Patched<&::FindFirstFileExW> find_{"FindFirstFileExW",
                                           [this](auto, LPCWSTR, FINDEX_INFO_LEVELS level, void* answer,
                                                  FINDEX_SEARCH_OPS operation, void* filter, DWORD flags) {
                                             EXPECT_EQ(level, FindExInfoBasic);
                                             EXPECT_EQ(operation, FindExSearchNameMatch);
                                             EXPECT_EQ(filter, nullptr);
                                             EXPECT_EQ(flags, 0u);
                                             auto& entry = *static_cast<WIN32_FIND_DATAW*>(answer);
                                             entry = {};
                                             entry.dwFileAttributes = FILE_ATTRIBUTE_REPARSE_POINT | 8;
                                             entry.nFileSizeHigh = 0x80000001;
                                             entry.nFileSizeLow = 0xFFFFFFFE;
                                             entry.ftCreationTime = FileTimeOf(times_[0]);
                                             entry.ftLastAccessTime = FileTimeOf(times_[1]);
                                             entry.ftLastWriteTime = FileTimeOf(times_[2]);
                                             return ::CreateEventW(nullptr, FALSE, FALSE, nullptr);
                                           }};
  const Patched<&::FindClose> close_{"FindClose", [this](auto, HANDLE search) {
                                       ++searchesClosed_;
                                       return ::CloseHandle(search);
                                     }};
  FileInfoImpl info_{L"C:\\any"};

  void SetUp() override { ASSERT_TRUE(info_.Refresh(0)); }
};

TEST_F(StrangeLookUpTest, TheSearchIsClosedAtOnce) {
  EXPECT_EQ(searchesClosed_, 1);
}

TEST_F(StrangeLookUpTest, SizeHasBothHalves) {
  EXPECT_EQ(info_.GetSize(), 0x80000001FFFFFFFEu);
}

TEST_F(StrangeLookUpTest, AttributeBitsAreToldApart) {
  EXPECT_TRUE(info_.IsReparsePoint());
  EXPECT_TRUE(info_.IsAttributeBit3());
  EXPECT_FALSE(info_.IsDirectory());
  EXPECT_TRUE(info_.IsFile());
}

TEST_F(StrangeLookUpTest, TimesOutsideTheRangeAre0) {
  EXPECT_EQ(info_.GetCreationTime(), 0u);
  EXPECT_EQ(info_.GetLastAccessTime(), 0xFFFFFFFFu);
  EXPECT_EQ(info_.GetLastWriteTime(), 0u);
}

TEST_F(StrangeLookUpTest, EachTimeIsItsOwn) {
  times_ = {1000000001, 1000000002, 1000000003};
  ASSERT_TRUE(info_.Refresh(0));
  EXPECT_EQ(info_.GetCreationTime(), 1000000001u);
  EXPECT_EQ(info_.GetLastAccessTime(), 1000000002u);
  EXPECT_EQ(info_.GetLastWriteTime(), 1000000003u);
}

TEST_F(StrangeLookUpTest, WithoutTheConversionTimesAre0) {
  const auto convert = Nt().timeToSecondsSince1970;
  Nt().timeToSecondsSince1970 = nullptr;
  EXPECT_EQ(info_.GetLastAccessTime(), 0u);
  Nt().timeToSecondsSince1970 = convert;
}

// ---- The final path.

class FinalPathTest : public FileInfoTest {
 protected:
  std::wstring finalPath_;
  std::vector<DWORD> sizes_;
  DWORD lie_ = 0;  // said to be the length, unless 0
  const Patched<&::GetFinalPathNameByHandleW> patch_{
      "GetFinalPathNameByHandleW", [this](auto, HANDLE, LPWSTR buffer, DWORD size, DWORD flags) {
        EXPECT_EQ(flags, 0u);
        sizes_.push_back(size);
        if (lie_ != 0) return lie_;
        if (finalPath_.size() >= size) return static_cast<DWORD>(finalPath_.size() + 1);
        std::copy_n(finalPath_.c_str(), finalPath_.size() + 1, buffer);
        return static_cast<DWORD>(finalPath_.size());
      }};
};

TEST_F(FinalPathTest, APathOf259CharactersTakesOneCallALongerOneTwo) {
  for (const size_t length : {259u, 260u, 261u, 32767u}) {
    sizes_.clear();
    finalPath_ = L"\\\\?\\C:\\" + std::wstring(length - 7, L'x');
    FileInfoImpl info(path_);
    EXPECT_TRUE(info.Refresh(kRefreshPathOnDisk));
    EXPECT_EQ(info.PathOnDisk(), finalPath_);
    const auto needed = static_cast<DWORD>(length + 1);
    EXPECT_EQ(sizes_, length < 260 ? std::vector<DWORD>{260} : (std::vector<DWORD>{260, needed}));
  }
}

TEST_F(FinalPathTest, APathThatGrowsBetweenTheCallsIsAFailure) {
  lie_ = 300;
  FileInfoImpl info(path_);
  ::SetLastError(77);
  EXPECT_FALSE(info.Refresh(kRefreshPathOnDisk));
  EXPECT_EQ(info.PathOnDisk(), L"");
}

TEST_F(FinalPathTest, TheNameIsTheLastComponentOfTheFinalPath) {
  finalPath_ = L"\\\\?\\UNC\\server\\share\\File.txt";
  FileInfoImpl info(path_);
  EXPECT_TRUE(info.Refresh(kRefreshExactName | kRefreshByOpening));
  finalPath_ = L"\\\\?\\UNC\\server\\share\\file.txt";
  EXPECT_FALSE(info.Refresh(kRefreshExactName | kRefreshByOpening));
  EXPECT_EQ(info.Error(), 2u);
}

// ---- Failures after the open, and their trace messages.

struct Traced {
  std::wstring format;
  std::wstring path;
  uint32_t error = 0;
};
std::vector<Traced> traced;

class FileInfoTraceTest : public FileInfoTest {
 protected:
  FileInfoTraceTest() {
    traced.clear();
    traceHook = [](const wchar_t* format, const std::wstring& path, uint32_t error) {
      traced.push_back({format, path, error});
      ::SetLastError(0);
    };
  }
  ~FileInfoTraceTest() override { traceHook = &TraceNothing; }
};

TEST_F(FileInfoTraceTest, AFailedQueryIsRecordedAndTraced) {
  FileInfoImpl info(path_);
  const test::FailingCall failing("GetFileInformationByHandle", 31);
  EXPECT_FALSE(info.Refresh(kRefreshByOpening));
  EXPECT_EQ(info.Error(), 31u);
  ASSERT_EQ(traced.size(), 1u);
  EXPECT_EQ(traced[0].format, L"FILE_INFO[%s]: GetFileInformationByHandle failed, error - %u");
  EXPECT_EQ(traced[0].path, path_);
  EXPECT_EQ(traced[0].error, 31u);
}

TEST_F(FileInfoTraceTest, AFailedFinalPathIsRecordedAndTraced) {
  for (const uint32_t flags : {5u, 8u, 9u, 12u}) {
    traced.clear();
    FileInfoImpl info(path_);
    const test::FailingCall failing("GetFinalPathNameByHandleW", 31);
    EXPECT_FALSE(info.Refresh(flags));
    EXPECT_EQ(info.Error(), 31u);
    ASSERT_EQ(traced.size(), 1u);
    EXPECT_EQ(traced[0].format, L"FILE_INFO[%s]: GetPathOnDiskByHandle failed, error - %u");
    EXPECT_EQ(traced[0].path, path_);
    EXPECT_EQ(traced[0].error, 31u);
  }
}

TEST_F(FileInfoTraceTest, WithoutFlags1And8TheFinalPathIsNotAsked) {
  FileInfoImpl info(path_);
  const test::FailingCall failing("GetFinalPathNameByHandleW", 31);
  EXPECT_TRUE(info.Refresh(kRefreshByOpening));
  EXPECT_EQ(Faults::Requests(), 0u);
  EXPECT_TRUE(traced.empty());
}

TEST_F(FileInfoTest, TheOpenAsksForNoRightsAndForbidsNothing) {
  test::SeenOpen seen;
  FileInfoImpl(path_).Refresh(kRefreshByOpening);
  EXPECT_EQ(seen.access, 0u);
  EXPECT_EQ(seen.share, 7u);
  EXPECT_EQ(seen.disposition, DWORD{OPEN_EXISTING});
  EXPECT_EQ(seen.flags, DWORD{FILE_FLAG_BACKUP_SEMANTICS});
}

// ---- Security.

TEST_F(FileInfoTest, SecurityIsReadInCanonicalForm) {
  FileInfoImpl info(path_);
  ASSERT_TRUE(info.Refresh(kRefreshSecurity));
  EXPECT_TRUE(info.GetOwner().starts_with(L"O:S-1-")) << info.GetOwner().size();
  EXPECT_TRUE(info.GetGroup().starts_with(L"G:S-1-"));
  EXPECT_TRUE(info.GetAccessList().starts_with(L"D:"));
  EXPECT_EQ(info.GetOwnerText(), info.GetOwner());
  EXPECT_EQ(info.GetGroupText(), info.GetGroup());
}

TEST_F(FileInfoTest, AFailedSecurityReadKeepsTheOldStrings) {
  FileInfoImpl info(path_);
  ASSERT_TRUE(info.Refresh(kRefreshSecurity));
  const std::wstring owner = info.GetOwner();
  const std::wstring list = info.GetAccessList();
  const test::FailingCall failing("GetNamedSecurityInfoW", ERROR_ACCESS_DENIED);
  EXPECT_FALSE(info.Refresh(kRefreshSecurity));
  EXPECT_EQ(info.Error(), 5u);
  EXPECT_EQ(info.GetOwner(), owner);
  EXPECT_EQ(info.GetAccessList(), list);
}

TEST_F(FileInfoTest, StrippingRewritesTheRecordsOwnList) {
  const Patched<&::GetNamedSecurityInfoW> patch(
      "GetNamedSecurityInfoW", [](auto, auto, auto, auto, auto, auto, auto, auto, auto* descriptor) {
        EXPECT_TRUE(::ConvertStringSecurityDescriptorToSecurityDescriptorW(
            L"O:BAG:SYD:(A;;FA;;;BA)(A;ID;FA;;;BA)", SDDL_REVISION_1, descriptor, nullptr));
        return DWORD{ERROR_SUCCESS};
      });
  FileInfoImpl info(path_);
  ASSERT_TRUE(info.Refresh(kRefreshSecurity));
  EXPECT_EQ(info.GetAccessList(), L"D:(A;;FA;;;S-1-5-32-544)(A;ID;FA;;;S-1-5-32-544)");
  EXPECT_TRUE(info.StripInheritedDuplicates());
  EXPECT_EQ(info.GetAccessList(), L"D:(A;;FA;;;S-1-5-32-544)");
  EXPECT_EQ(info.GetOwner(), L"O:S-1-5-32-544");
  EXPECT_EQ(info.GetOwnerText(), L"O:S-1-5-32-544");
  EXPECT_EQ(info.GetGroup(), L"G:S-1-5-18");
  EXPECT_EQ(info.GetGroupText(), L"G:S-1-5-18");
}

}  // namespace
}  // namespace veskard
