// SeenOpen: what CreateFileW is asked for.
#pragma once

#include "tests/support/Patched.h"

namespace veskard::test {

/// The newest call of CreateFileW since this was made; each fails with "file not found".
struct SeenOpen {
  DWORD access = 0, share = 0, disposition = 0, flags = 0;
  const void* security = nullptr;
  HANDLE templateFile = nullptr;

  const Patched<&::CreateFileW> open{
      "CreateFileW", [this](auto, LPCWSTR, DWORD a, DWORD s, auto security_, DWORD d, DWORD f, HANDLE t) {
        access = a, share = s, security = security_, disposition = d, flags = f, templateFile = t;
        ::SetLastError(ERROR_FILE_NOT_FOUND);
        return INVALID_HANDLE_VALUE;
      }};
};

}  // namespace veskard::test
