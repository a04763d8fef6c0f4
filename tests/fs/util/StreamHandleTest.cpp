#include "fs/util/StreamHandle.h"

#include <gtest/gtest.h>

#include "tests/support/FileTools.h"
#include "tests/support/ScratchFolder.h"

namespace veskard {
namespace {

using test::Exists;
using test::ReadBytes;
using test::WriteBytes;

class StreamHandleTest : public testing::Test {
 protected:
  test::ScratchFolder folder_;
  const std::wstring file_ = folder_ / L"file.txt";
  const std::wstring fullName_ = file_ + L":name";
  StreamHandle stream_{PathVector(file_ + L"\\name")};
  uint32_t error_ = 77;

  void SetUp() override { WriteBytes(file_, "main"); }
};

TEST_F(StreamHandleTest, TheLastComponentIsTheStreamsName) {
  const StreamHandle stream{PathVector(L"C:\\a\\b.txt\\com.nimbrel.VeskardAgent")};
  EXPECT_EQ(stream.GetName(), L"com.nimbrel.VeskardAgent");
  EXPECT_EQ(stream.FilePath(), L"C:\\a\\b.txt");
  EXPECT_EQ(stream.Path(), L"C:\\a\\b.txt\\com.nimbrel.VeskardAgent");
}

TEST_F(StreamHandleTest, KeepsPrefixesInTheFilesPath) {
  EXPECT_EQ(StreamHandle{PathVector(L"\\\\?\\C:\\f\\s")}.FilePath(), L"\\\\?\\C:\\f");
  EXPECT_EQ(StreamHandle{PathVector(L"\\\\srv\\share\\f\\s")}.FilePath(), L"\\\\srv\\share\\f");
  EXPECT_EQ(StreamHandle{PathVector(L"\\\\?\\UNC\\srv\\share\\f\\s")}.FilePath(),
            L"\\\\?\\UNC\\srv\\share\\f");
}

// A folder made current, in which nothing but one file may ever be found.
class CurrentFolderTest : public StreamHandleTest {
 protected:
  void SetUp() override {
    StreamHandleTest::SetUp();
    before_.resize(::GetCurrentDirectoryW(0, nullptr));
    before_.resize(::GetCurrentDirectoryW(static_cast<DWORD>(before_.size()), before_.data()));
    ASSERT_TRUE(::SetCurrentDirectoryW(folder_.Path().c_str()));
  }
  void TearDown() override {
    EXPECT_EQ(test::NamesIn(folder_.Path()), std::vector<std::wstring>{L"file.txt"});
    EXPECT_TRUE(::SetCurrentDirectoryW(before_.c_str()));
  }

  std::wstring before_;
};

TEST_F(CurrentFolderTest, AStreamWithoutAFileNeverOpens) {
  for (const wchar_t* path : {L"", L"name"}) {
    StreamHandle stream{PathVector(path)};
    EXPECT_EQ(stream.FilePath(), L"");
    EXPECT_EQ(stream.GetName(), path);
    for (uint32_t mode = 0; mode < kOpenModes.size(); ++mode) {
      EXPECT_FALSE(stream.Open(mode, 0, 0)) << mode;
      EXPECT_EQ(stream.LastError(), 3u) << mode;
    }
  }
}

TEST_F(CurrentFolderTest, AStreamWithoutAFileIsNeitherMeasuredNorFilledNorDeleted) {
  for (const wchar_t* path : {L"", L"name"}) {
    StreamHandle stream{PathVector(path)};
    EXPECT_EQ(stream.GetSize(&error_), 0u);
    EXPECT_EQ(error_, 3u);
    EXPECT_FALSE(stream.CopyFrom(file_, HandleKind::kFile));
    EXPECT_EQ(stream.LastError(), 3u);
    EXPECT_FALSE(stream.Delete(false, &error_));
    EXPECT_EQ(error_, 3u);
    // As the source neither.
    EXPECT_FALSE(stream_.CopyFrom(path, HandleKind::kStream));
    EXPECT_EQ(stream_.LastError(), 3u);
  }
}

TEST_F(StreamHandleTest, OpensTheFullStreamName) {
  EXPECT_FALSE(stream_.Open(0, 3, 0));
  EXPECT_EQ(stream_.LastError(), 2u);
  EXPECT_EQ(stream_.OpenFlag(), 3);
  WriteBytes(fullName_, "stream");
  ASSERT_TRUE(stream_.Open(0, 0, 0));
  EXPECT_TRUE(stream_.IsOpen());
  char buffer[16] = {};
  EXPECT_EQ(stream_.Read(buffer, 15), 6u);
  EXPECT_STREQ(buffer, "stream");
  EXPECT_EQ(ReadBytes(file_), "main");
}

TEST_F(StreamHandleTest, ReadsWritesSeeksAndCutsAsAFile) {
  ASSERT_TRUE(stream_.Open(2, 0, 0));
  EXPECT_EQ(stream_.Write("0123456789", 10), 10u);
  EXPECT_TRUE(stream_.Seek(2));
  char buffer[4] = {};
  EXPECT_EQ(stream_.Read(buffer, 2), 2u);
  EXPECT_STREQ(buffer, "23");
  EXPECT_EQ(stream_.ReadAt(buffer, 2, 7), 2u);
  EXPECT_STREQ(buffer, "78");
  EXPECT_EQ(stream_.WriteAt("AB", 2, 0), 2u);
  EXPECT_TRUE(stream_.SetSize(4));
  EXPECT_TRUE(stream_.Flush(&error_));
  EXPECT_EQ(error_, 0u);
  EXPECT_EQ(ReadBytes(fullName_), "AB23");
}

TEST_F(StreamHandleTest, NothingHappensWhileClosed) {
  char byte;
  EXPECT_FALSE(stream_.Seek(0));
  EXPECT_FALSE(stream_.SetSize(0));
  EXPECT_EQ(stream_.Read(&byte, 1), 0u);
  EXPECT_EQ(stream_.ReadAt(&byte, 1, 0), 0u);
  EXPECT_EQ(stream_.Write("x", 1), 0u);
  EXPECT_EQ(stream_.WriteAt("x", 1, 0), 0u);
  EXPECT_FALSE(stream_.IsDeletePending());
  EXPECT_EQ(stream_.LastError(), 0u);
}

TEST_F(StreamHandleTest, FlushingAClosedStreamFailsWith87) {
  EXPECT_FALSE(stream_.Flush(&error_));
  EXPECT_EQ(error_, 87u);
}

TEST_F(StreamHandleTest, AnswersThatNeedNoDisk) {
  EXPECT_EQ(stream_.GetModificationTime(&error_), -1);
  EXPECT_EQ(error_, 0u);
  EXPECT_FALSE(stream_.GetStreams().has_value());
  EXPECT_FALSE(stream_.Create());
  EXPECT_TRUE(stream_.SetValidData(10));
  EXPECT_FALSE(stream_.ReservedFalse());
  EXPECT_TRUE(stream_.ReservedTrue());
  EXPECT_FALSE(Exists(fullName_));
}

TEST_F(StreamHandleTest, SizeIsTheStreamsOwn) {
  EXPECT_EQ(stream_.GetSize(&error_), 0u);
  EXPECT_EQ(error_, 2u);
  EXPECT_EQ(stream_.LastError(), 2u);
  WriteBytes(fullName_, "stream");
  EXPECT_EQ(stream_.GetSize(&error_), 6u);
  EXPECT_EQ(error_, 0u);
  ASSERT_TRUE(stream_.Open(0, 0, 0));
  EXPECT_EQ(stream_.GetSize(nullptr), 6u);
  EXPECT_TRUE(stream_.IsOpen());
}

TEST_F(StreamHandleTest, DeletionLeavesTheFileInPlace) {
  WriteBytes(fullName_, "stream");
  EXPECT_TRUE(stream_.Delete(true, &error_));
  EXPECT_EQ(error_, 0u);
  EXPECT_FALSE(Exists(fullName_));
  EXPECT_EQ(ReadBytes(file_), "main");
  EXPECT_FALSE(stream_.Delete(false, &error_));
  EXPECT_EQ(error_, 2u);
  EXPECT_EQ(stream_.LastError(), 2u);
}

TEST_F(StreamHandleTest, AReadOnlyStreamIsNeitherMadeWritableNorDeletedAnyway) {
  WriteBytes(fullName_, "stream");
  test::SetReadOnly(fullName_);
  EXPECT_FALSE(stream_.Delete(false, &error_));
  EXPECT_EQ(error_, 5u);
  EXPECT_TRUE(test::IsReadOnly(fullName_));
  EXPECT_EQ(ReadBytes(fullName_), "stream");
  test::SetReadOnly(fullName_, false);
}

TEST_F(StreamHandleTest, CopiesAFilesContents) {
  EXPECT_TRUE(stream_.CopyFrom(file_, HandleKind::kFile));
  EXPECT_EQ(ReadBytes(fullName_), "main");
  EXPECT_FALSE(stream_.IsOpen());
  WriteBytes(fullName_, "longer than main");
  EXPECT_TRUE(stream_.CopyFrom(file_, HandleKind::kFileSecondCode));
  EXPECT_EQ(ReadBytes(fullName_), "main");
}

TEST_F(StreamHandleTest, CopiesAnotherStreamsContents) {
  const std::string contents(200000, 'c');
  WriteBytes(folder_ / L"other:source", contents);
  EXPECT_TRUE(stream_.CopyFrom(folder_ / L"other\\source", HandleKind::kStream));
  EXPECT_EQ(ReadBytes(fullName_), contents);
}

TEST_F(StreamHandleTest, CopyingWhatIsMissingLeavesTheStreamAsItWas) {
  WriteBytes(fullName_, "old");
  EXPECT_FALSE(stream_.CopyFrom(folder_ / L"missing", HandleKind::kFile));
  EXPECT_EQ(stream_.LastError(), 2u);
  EXPECT_FALSE(stream_.CopyFrom(folder_ / L"missing\\s", HandleKind::kStream));
  EXPECT_EQ(stream_.LastError(), 2u);
  EXPECT_EQ(ReadBytes(fullName_), "old");
}

TEST_F(StreamHandleTest, AStreamIsNotCopiedOverItself) {
  WriteBytes(fullName_, "old");
  for (const std::wstring& other : {file_ + L"\\NAME", L"\\\\?\\" + file_ + L"\\name"}) {
    EXPECT_FALSE(stream_.CopyFrom(other, HandleKind::kStream));
    EXPECT_EQ(stream_.LastError(), DWORD{ERROR_SHARING_VIOLATION});
    EXPECT_EQ(ReadBytes(fullName_), "old");
  }
}

TEST_F(StreamHandleTest, AStreamIsNotCopiedOverItselfUnderItsFullName) {
  WriteBytes(fullName_, "old");
  ASSERT_TRUE(::CreateHardLinkW((folder_ / L"link").c_str(), file_.c_str(), nullptr));
  for (const std::wstring& other :
       {fullName_, folder_ / L"FILE.TXT:NAME", L"\\\\?\\" + fullName_, fullName_ + L".",
        fullName_ + L":$DATA", folder_ / L"link:name", folder_ / L"LINK:Name:$data"}) {
    for (const HandleKind kind : {HandleKind::kFile, HandleKind::kFileSecondCode}) {
      EXPECT_FALSE(stream_.CopyFrom(other, kind)) << testing::PrintToString(other);
      EXPECT_EQ(stream_.LastError(), DWORD{ERROR_SHARING_VIOLATION}) << testing::PrintToString(other);
      EXPECT_EQ(ReadBytes(fullName_), "old") << testing::PrintToString(other);
    }
  }
}

TEST_F(StreamHandleTest, TheFullNameOfAnotherStreamIsCopied) {
  WriteBytes(file_ + L":other", "new");
  EXPECT_TRUE(stream_.CopyFrom(file_ + L":other", HandleKind::kFile));
  EXPECT_EQ(ReadBytes(fullName_), "new");
  WriteBytes(folder_ / L"other.txt:name", "newer");
  EXPECT_TRUE(stream_.CopyFrom(folder_ / L"other.txt:name", HandleKind::kFile));
  EXPECT_EQ(ReadBytes(fullName_), "newer");
}

TEST_F(StreamHandleTest, TheMainStreamUnderItsFullNameIsTheFile) {
  StreamHandle main{PathVector(file_ + L"\\:$DATA")};
  for (const std::wstring& source : {file_, file_ + L"::$DATA", fullName_}) {
    EXPECT_FALSE(main.CopyFrom(source, HandleKind::kFile));
    EXPECT_EQ(main.LastError(), DWORD{ERROR_SHARING_VIOLATION});
  }
  EXPECT_FALSE(main.CopyFrom(file_ + L"\\name", HandleKind::kStream));
  EXPECT_EQ(main.LastError(), DWORD{ERROR_SHARING_VIOLATION});
  EXPECT_EQ(ReadBytes(file_), "main");
}

TEST_F(StreamHandleTest, AnotherStreamOfTheSameFileIsCopied) {
  WriteBytes(file_ + L":other", "new");
  EXPECT_TRUE(stream_.CopyFrom(file_ + L"\\other", HandleKind::kStream));
  EXPECT_EQ(ReadBytes(fullName_), "new");
}

TEST_F(StreamHandleTest, OtherKindsCannotBeCopied) {
  for (const HandleKind kind : {HandleKind::kFolder, HandleKind::kSymlink, static_cast<HandleKind>(0)}) {
    EXPECT_FALSE(stream_.CopyFrom(file_, kind));
  }
  EXPECT_FALSE(Exists(fullName_));
}

}  // namespace
}  // namespace veskard
