// GdiplusUser: keeps GDI+ started.
#pragma once

#include <cstdint>

namespace veskard {

/// Held by every live handler of either class: the first one starts GDI+, the
/// last one shuts it down. A failing start is not reported: drawing then simply
/// yields nothing, and nothing is shut down, for GDI+ counts its users in a process
/// and one too few would take it from the host. Safe from several threads.
class GdiplusUser {
 public:
  GdiplusUser() noexcept;
  ~GdiplusUser();
  GdiplusUser(const GdiplusUser&) = delete;
  GdiplusUser& operator=(const GdiplusUser&) = delete;
};

/// How many users there are (0: GDI+ is not running).
uint32_t GdiplusUserCount() noexcept;

}  // namespace veskard
