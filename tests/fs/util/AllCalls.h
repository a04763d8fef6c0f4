// All Windows calls of the layer, except those that only close something.
#pragma once

#include "tests/support/WatchedCalls.h"

namespace veskard::test {

// clang-format off
/// Watches them for its lifetime.
struct AllCalls {
  WatchedCalls calls{
      "CreateFileW", "ReadFile", "WriteFile", "SetFilePointerEx", "SetFileInformationByHandle",
      "SetFileValidData", "FlushFileBuffers", "GetFileSizeEx", "CancelIoEx", "CopyFileW",
      "DeleteFileW", "GetFileAttributesW", "SetFileAttributesW", "CreateDirectoryW",
      "RemoveDirectoryW", "GetFullPathNameW", "FindFirstFileW", "FindNextFileW", "FindFirstFileExW",
      "GetFileInformationByHandle", "GetFinalPathNameByHandleW", "GetNamedSecurityInfoW",
      "ConvertSecurityDescriptorToStringSecurityDescriptorW",
      "ConvertStringSecurityDescriptorToSecurityDescriptorW", "ConvertStringSidToSidW",
      "ConvertSidToStringSidW"};
};
// clang-format on

}  // namespace veskard::test
