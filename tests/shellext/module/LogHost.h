// What log_host.exe and the tests that start it agree on.
#pragma once

#include <string>

namespace veskard {

/// How every scenario ends that ends by itself.
inline constexpr unsigned kLogHostExitCode = 42;

/// How a host ends whose library used the heap when it must not.
inline constexpr unsigned kLogHostHeapTouched = 43;

/// The name of an event or mutex of the hosts of one test.
inline std::wstring LogHostObject(const std::wstring& sandbox, const std::wstring& name) {
  return L"Local\\veskard-" + sandbox + L"-" + name;
}

}  // namespace veskard
