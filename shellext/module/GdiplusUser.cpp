#include "shellext/module/GdiplusUser.h"

#include "core/CriticalSection.h"
#include "core/GdiplusFunctions.h"

namespace veskard {
namespace {

// Handlers live in several apartments, so counting and starting go together
// under a lock: otherwise one thread could draw while another still starts.
CriticalSection lock;
uint32_t userCount = 0;
ULONG_PTR token = 0;  // 0: not started

void Start() noexcept {
  const Gdiplus::GdiplusStartupInput input;  // version 1, nothing suppressed
  if (gdip::GdiplusStartup(&token, &input, nullptr) != Gdiplus::Ok) token = 0;
  gdip::Library().SetInUse(token != 0);
}

void Stop() noexcept {
  if (token == 0) return;
  gdip::GdiplusShutdown(token);
  gdip::Library().SetInUse(false);
  token = 0;
}

}  // namespace

GdiplusUser::GdiplusUser() noexcept {
  const CriticalSectionHold hold(lock);
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

bool StartGdiplus() noexcept {
  const CriticalSectionHold hold(lock);
  if (token == 0 && userCount > 0) Start();
  return token != 0;
}

}  // namespace veskard
