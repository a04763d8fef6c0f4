#include "bench/library/Libraries.h"

#include "core/ModuleHandle.h"

namespace veskard::bench {

std::wstring BesideThisProgram(const wchar_t* name) {
  const std::wstring program = ReadModulePath(nullptr);
  return program.substr(0, program.rfind(L'\\') + 1) + name;
}

}  // namespace veskard::bench
