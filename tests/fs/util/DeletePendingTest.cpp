// Wine keeps a deleted file until its last handle is closed, but never says so:
// the system's answer is laid out here byte by byte.
#include <gtest/gtest.h>

#include <cstring>

#include "fs/util/Handle.h"
#include "fs/util/NtFunctions.h"
#include "tests/support/FileTools.h"
#include "tests/support/ScratchFolder.h"

namespace veskard {
namespace {

constexpr size_t kPendingByte = 20;

class DeletePendingTest : public testing::Test {
 protected:
  DeletePendingTest() {
    test::WriteBytes(path_, "x");
    test::WriteBytes(path_ + L":stream", "x");
    test::MakeFolder(folder_ / L"sub");
    Nt().queryInformationFile = &Answer;
    status = 0;
    pending = 1;
    calls = 0;
  }
  ~DeletePendingTest() override { Nt().queryInformationFile = real_; }

  // allocation size 8, end of file 8, links 4, delete pending 1, directory 1, 2 of padding
  static NTSTATUS NTAPI Answer(HANDLE file, IO_STATUS_BLOCK*, void* answer, ULONG size, ULONG what) {
    DWORD flags;
    EXPECT_TRUE(::GetHandleInformation(file, &flags));
    EXPECT_EQ(size, 24u);
    EXPECT_EQ(what, 5u);
    ++calls;
    std::memset(answer, 0, size);
    static_cast<unsigned char*>(answer)[kPendingByte] = pending;
    return status;
  }

  static inline NTSTATUS status = 0;
  static inline unsigned char pending = 0;
  static inline int calls = 0;

  test::ScratchFolder folder_;
  const std::wstring path_ = folder_ / L"file";
  const NtQueryInformationFileFunction real_ = Nt().queryInformationFile;
};

TEST_F(DeletePendingTest, EveryKindAsksForItsOpenHandle) {
  struct Row {
    std::wstring path;
    HandleKind kind;
  };
  for (const Row& row :
       {Row{path_, HandleKind::kFile}, Row{path_, HandleKind::kSymlink},
        Row{folder_ / L"sub", HandleKind::kFolder}, Row{path_ + L"\\stream", HandleKind::kStream}}) {
    const auto handle = MakeHandle(PathVector(row.path), row.kind);
    ASSERT_TRUE(handle->Open(row.kind == HandleKind::kFolder ? kModeQuery : kModeRead, 0, 0));
    pending = 1;
    EXPECT_TRUE(handle->IsDeletePending());
    pending = 0;
    EXPECT_FALSE(handle->IsDeletePending());
  }
  EXPECT_EQ(calls, 8);
}

TEST_F(DeletePendingTest, AClosedHandleIsNotAskedAbout) {
  FileHandle file{PathVector(path_)};
  EXPECT_FALSE(file.IsDeletePending());
  EXPECT_EQ(calls, 0);
}

TEST_F(DeletePendingTest, AFailedQueryMeansNo) {
  FileHandle file{PathVector(path_)};
  ASSERT_TRUE(file.Open(kModeRead, 0, 0));
  status = static_cast<NTSTATUS>(0xC0000002);
  EXPECT_FALSE(file.IsDeletePending());
}

TEST_F(DeletePendingTest, WithoutTheFunctionTheAnswerIsNo) {
  FileHandle file{PathVector(path_)};
  ASSERT_TRUE(file.Open(kModeRead, 0, 0));
  Nt().queryInformationFile = nullptr;
  EXPECT_FALSE(file.IsDeletePending());
}

TEST_F(DeletePendingTest, TheSystemsOwnFunctionAnswersForAnOrdinaryFile) {
  Nt().queryInformationFile = real_;
  FileHandle file{PathVector(path_)};
  ASSERT_TRUE(file.Open(kModeRead, 0, 0));
  EXPECT_FALSE(file.IsDeletePending());
}

}  // namespace
}  // namespace veskard
