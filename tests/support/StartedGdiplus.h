// StartedGdiplus: GDI+ for tests that draw by the library's own functions.
#pragma once

#include <gtest/gtest.h>

#include "shellext/module/GdiplusUser.h"

namespace veskard::test {

/// Keeps GDI+ started. The test fails where it does not start.
class StartedGdiplus {
 public:
  StartedGdiplus() { EXPECT_TRUE(StartGdiplus()); }
  StartedGdiplus(const StartedGdiplus&) = delete;
  StartedGdiplus& operator=(const StartedGdiplus&) = delete;

 private:
  const GdiplusUser user_;
};

}  // namespace veskard::test
