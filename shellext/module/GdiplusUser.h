// GdiplusUser: keeps GDI+ started from the first drawing on.
#pragma once

#include <cstdint>

namespace veskard {

/// Held by every live handler of either class. The first drawing of any of them starts
/// GDI+, and the last of them shuts it down where it was started: GDI+ counts its users
/// in a process, and one count too few would shut it down under the host. Safe from several threads.
class GdiplusUser {
 public:
  GdiplusUser() noexcept;
  ~GdiplusUser();
  GdiplusUser(const GdiplusUser&) = delete;
  GdiplusUser& operator=(const GdiplusUser&) = delete;
};

/// The number of users.
uint32_t GdiplusUserCount() noexcept;

/// Called before anything is drawn: whether GDI+ runs now. It then does for as long as
/// there is a user. False when it cannot be loaded or started, which the next call tries
/// again, and without a user, who alone could shut it down.
bool StartGdiplus() noexcept;

}  // namespace veskard
