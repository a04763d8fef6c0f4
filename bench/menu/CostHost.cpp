#include "bench/menu/CostHost.h"

namespace veskard::bench {
namespace {

// Read when a library is loaded: from the sandbox, and off.
const std::wstring& PrepareRegistry(const test::RegistrySandbox& registry, const std::wstring& folder) {
  registry.SetApplicationData(folder);
  test::SetLogSwitch(0);
  return folder;
}

}  // namespace

CostHost::CostHost()
    : log_(PrepareRegistry(registry_, applicationData_.Path())), new_(files_.New()), old_(files_.Old()) {}

}  // namespace veskard::bench
