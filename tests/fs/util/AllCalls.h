// All Windows calls that the layer makes, but for those that only close something.
#pragma once

#include <windows.h>

#include <aclapi.h>
#include <sddl.h>

#include "tests/support/FailingCalls.h"

namespace veskard::test {

/// Watches them for as long as it lives.
struct AllCalls {
  FailingCalls calls{
      Watch<&::CreateFileW>("CreateFileW", INVALID_HANDLE_VALUE),
      Watch<&::ReadFile>("ReadFile", FALSE),
      Watch<&::WriteFile>("WriteFile", FALSE),
      Watch<&::SetFilePointerEx>("SetFilePointerEx", FALSE),
      Watch<&::SetFileInformationByHandle>("SetFileInformationByHandle", FALSE),
      Watch<&::SetFileValidData>("SetFileValidData", FALSE),
      Watch<&::FlushFileBuffers>("FlushFileBuffers", FALSE),
      Watch<&::GetFileSizeEx>("GetFileSizeEx", FALSE),
      Watch<&::CancelIoEx>("CancelIoEx", FALSE),
      Watch<&::CopyFileW>("CopyFileW", FALSE),
      Watch<&::DeleteFileW>("DeleteFileW", FALSE),
      Watch<&::GetFileAttributesW>("GetFileAttributesW", INVALID_FILE_ATTRIBUTES),
      Watch<&::SetFileAttributesW>("SetFileAttributesW", FALSE),
      Watch<&::CreateDirectoryW>("CreateDirectoryW", FALSE),
      Watch<&::RemoveDirectoryW>("RemoveDirectoryW", FALSE),
      Watch<&::FindFirstFileW>("FindFirstFileW", INVALID_HANDLE_VALUE),
      Watch<&::FindNextFileW>("FindNextFileW", FALSE),
      Watch<&::FindFirstFileExW>("FindFirstFileExW", INVALID_HANDLE_VALUE),
      Watch<&::GetFileInformationByHandle>("GetFileInformationByHandle", FALSE),
      Watch<&::GetFinalPathNameByHandleW>("GetFinalPathNameByHandleW", 0),
      Watch<&::GetNamedSecurityInfoW>("GetNamedSecurityInfoW", kInjectedError),
      Watch<&::ConvertSecurityDescriptorToStringSecurityDescriptorW>(
          "ConvertSecurityDescriptorToStringSecurityDescriptorW", FALSE),
      Watch<&::ConvertStringSecurityDescriptorToSecurityDescriptorW>(
          "ConvertStringSecurityDescriptorToSecurityDescriptorW", FALSE),
      Watch<&::ConvertStringSidToSidW>("ConvertStringSidToSidW", FALSE),
      Watch<&::ConvertSidToStringSidW>("ConvertSidToStringSidW", FALSE),
  };
};

}  // namespace veskard::test
