#include "shellext/module/GdiplusUser.h"

#include "core/CriticalSection.h"
#include "core/GdiplusOwners.h"

namespace veskard {
namespace {

// Handlers live in several apartments, so counting and starting go together
// under a lock: otherwise one thread could draw while another still starts.
CriticalSection lock;
uint32_t userCount = 0;
ULONG_PTR token = 0;

void Start() noexcept {
  token = 0;
  const Gdiplus::GdiplusStartupInput input;  // version 1, nothing suppressed
  if (Gdiplus::GdiplusStartup(&token, &input, nullptr) != Gdiplus::Ok) token = 0;
}

void Stop() noexcept {
  if (token != 0) Gdiplus::GdiplusShutdown(token);
  token = 0;
}

}  // namespace

GdiplusUser::GdiplusUser() noexcept {
  const CriticalSectionHold hold(lock);
  if (userCount == 0) Start();
  ++userCount;
}

GdiplusUser::~GdiplusUser() {
  const CriticalSectionHold hold(lock);
  if (--userCount == 0) Stop();
}

uint32_t GdiplusUserCount() noexcept {
  const CriticalSectionHold hold(lock);
  return userCount;
}

}  // namespace veskard
