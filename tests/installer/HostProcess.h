// HostProcess: another program that has the extension loaded.
#pragma once

#include <string>

#include "core/WindowsOwners.h"

namespace veskard::test {

/// Runs until it is destroyed; then the libraries that it loaded are free.
class HostProcess {
 public:
  HostProcess() : HostProcess(L"installer_host.exe") {}
  /// The same as another program beside the tests.
  explicit HostProcess(const std::wstring& program);
  ~HostProcess();
  HostProcess(const HostProcess&) = delete;
  HostProcess& operator=(const HostProcess&) = delete;

  /// Makes an object of the class there and keeps it: "0x00000000 LIBRARY" with
  /// the path of the library that serves it, or the code of the failure alone.
  std::string Activate(const std::wstring& classId);

  /// Loads a library there and keeps it: the result code.
  std::string Load(const std::wstring& path);

  /// Asks the first object for another interface: the result code.
  std::string Ask();

 private:
  std::string Answer(const std::string& line);

  UniqueHandle process_;
  UniqueHandle commands_;
  UniqueHandle answers_;
};

}  // namespace veskard::test
