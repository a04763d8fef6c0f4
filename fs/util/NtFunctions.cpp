#include "fs/util/NtFunctions.h"

#include "core/WindowsOwners.h"

namespace veskard {
namespace {

template <class Function>
Function FindFunction(HMODULE module, const char* name) noexcept {
  if (module == nullptr) return nullptr;
  return reinterpret_cast<Function>(reinterpret_cast<void*>(::GetProcAddress(module, name)));
}

}  // namespace

// ntdll stays loaded in every process, so its functions stay valid after this reference
// is released.

NtQueryInformationFileFunction ResolveNtQueryInformationFile() noexcept {
  constexpr char kName[] = "NtQueryInformationFile";
  if (const HMODULE present = ::GetModuleHandleA("ntdll")) {
    return FindFunction<NtQueryInformationFileFunction>(present, kName);
  }
  const UniqueModule loaded(::LoadLibraryA("ntdll"));
  return FindFunction<NtQueryInformationFileFunction>(loaded.Get(), kName);
}

RtlTimeToSecondsSince1970Function ResolveRtlTimeToSecondsSince1970() noexcept {
  const UniqueModule loaded(::LoadLibraryA("ntdll.dll"));
  return FindFunction<RtlTimeToSecondsSince1970Function>(loaded.Get(), "RtlTimeToSecondsSince1970");
}

NtFunctions& Nt() noexcept {
  static NtFunctions functions;
  return functions;
}

}  // namespace veskard
