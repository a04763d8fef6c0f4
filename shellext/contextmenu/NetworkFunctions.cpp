#include "shellext/contextmenu/NetworkFunctions.h"

namespace veskard::network {
namespace {
extern LateLibrary library;
}

VESKARD_LATE constinit LateFunction<decltype(&::WNetGetUniversalNameW), DWORD{ERROR_MOD_NOT_FOUND}>
    WNetGetUniversalNameW(library, "WNetGetUniversalNameW");

namespace {

constinit LateSlot* const slots[] = {&WNetGetUniversalNameW};
constinit LateLibrary library(L"mpr.dll", slots);

}  // namespace
}  // namespace veskard::network
