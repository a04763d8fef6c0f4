#include "core/GdiplusFunctions.h"

namespace veskard::gdip {

namespace {
extern LateLibrary library;
}

#define VESKARD_DEFINE(scope, name)                                                                         \
  VESKARD_LATE constinit LateFunction<decltype(&scope::name), Gdiplus::GdiplusNotInitialized> name(library, \
                                                                                                   #name);
VESKARD_GDIPLUS_FUNCTIONS(VESKARD_DEFINE)
#undef VESKARD_DEFINE

namespace {

#define VESKARD_ADDRESS(scope, name) &(name),
constinit LateSlot* const slots[] = {VESKARD_GDIPLUS_FUNCTIONS(VESKARD_ADDRESS)};
#undef VESKARD_ADDRESS
static_assert(std::size(slots) <= LateLibrary::kMostFunctions);

constinit LateLibrary library(L"gdiplus.dll", slots);

}  // namespace

LateLibrary& Library() noexcept {
  return library;
}

}  // namespace veskard::gdip
