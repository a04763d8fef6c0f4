// The order of the virtual operations, which is shared with the agent's core: code
// built apart calls them by their place and would take one for the other.
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstring>

#include "fs/util/FileInfo.h"
#include "fs/util/PathVector.h"
#include "fs/util/SyncHandle.h"

// Microsoft's compiler keeps no place in a pointer to a member.
#ifndef _MSC_VER
namespace veskard {
namespace {

// A pointer to a virtual member begins with its place in the table, in bytes; for x86 and
// x64, one more. The destructor has two places.
template <class Method>
size_t PlaceOf(Method method) {
  std::array<uintptr_t, 2> parts;
  static_assert(sizeof(method) == sizeof(parts));
  std::memcpy(parts.data(), &method, sizeof(method));
  return parts[0] / sizeof(void*);
}

// Whether the methods follow one another, the first at `place`.
template <class... Methods>
bool FollowOneAnother(size_t place, Methods... methods) {
  return ((PlaceOf(methods) == place++) && ...);
}

TEST(SlotOrderTest, OfAPathParsingIsTheFirstAndTheDestructorTheSecond) {
  EXPECT_TRUE(FollowOneAnother(0, &PathVector::Assign));
  EXPECT_TRUE(FollowOneAnother(3, &PathVector::IsRemote, &PathVector::Equals));
}

TEST(SlotOrderTest, OfAHandleTheDestructorIsTheFirst) {
  using H = SyncHandle;
  EXPECT_TRUE(FollowOneAnother(2, &H::Seek, &H::SetSize, &H::GetName, &H::GetModificationTime, &H::GetSize,
                               &H::Open, &H::Close, &H::IsOpen, &H::ReservedFalse, &H::ReservedTrue, &H::Read,
                               &H::ReadAt, &H::Write, &H::WriteAt, &H::Flush, &H::CopyFrom, &H::Delete,
                               &H::GetStreams, &H::Create, &H::IsDeletePending, &H::SetValidData, &H::GetKind,
                               &H::CancelIo));
}

TEST(SlotOrderTest, OfAFileInformationTheDestructorIsTheFirst) {
  using I = FileInfoImplBase;
  EXPECT_TRUE(FollowOneAnother(2, &I::IsFile, &I::IsDirectory, &I::IsReparsePoint, &I::IsAttributeBit3,
                               &I::GetSize, &I::GetFileIndex, &I::GetLastWriteTime, &I::GetCreationTime,
                               &I::GetLastAccessTime, &I::GetVolumeSerial, &I::GetOwner, &I::GetGroup,
                               &I::GetOwnerText, &I::GetGroupText, &I::GetAccessList, &I::GetStreams,
                               &I::Refresh, &I::Exists, &I::ReadStreams, &I::StripInheritedDuplicates));
}

}  // namespace
}  // namespace veskard
#endif
