#include "core/ModuleHandle.h"

namespace veskard {
namespace {

constinit HINSTANCE moduleHandle = nullptr;

}  // namespace

void SetModuleHandle(HINSTANCE instance) noexcept {
  moduleHandle = instance;
}

HINSTANCE ModuleHandle() noexcept {
  return moduleHandle;
}

UniqueModule ReferenceToThisModule() noexcept {
  UniqueModule module;
  ::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                       reinterpret_cast<const wchar_t*>(&ReferenceToThisModule), module.Out());
  return module;
}

std::wstring ReadModulePath(HMODULE module) {
  wchar_t buffer[MAX_PATH] = {};
  const DWORD length = ::GetModuleFileNameW(module, buffer, MAX_PATH);
  // A path that does not fit is cut to 259 characters and a terminator.
  return std::wstring(buffer, length < MAX_PATH ? length : MAX_PATH - 1);
}

std::wstring ReadWholeModulePath(HMODULE module) {
  constexpr size_t kLongestPath = 32767;
  for (std::wstring path(MAX_PATH, L'\0');; path.resize(kLongestPath + 1)) {
    const DWORD length = ::GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size()));
    // A path that does not fit fills the buffer.
    if (length < path.size() || path.size() > kLongestPath) {
      path.resize(length);
      return path;
    }
  }
}

}  // namespace veskard
