// A small debugger of Windows: what a PDB says of places in a library.
//
//   pdb_reader LIBRARY FOLDER RVA...   FOLDER: where to look for the PDB; RVA: hexadecimal
//
// Prints "function<TAB>source<TAB>line" for each place. The exit code is 1 without a PDB.
#include <windows.h>

#include <dbghelp.h>

#include <array>
#include <cstddef>
#include <cstdio>
#include <string>

namespace veskard {
namespace {

struct Symbol {
  SYMBOL_INFO info;
  std::array<char, MAX_SYM_NAME> name;
};

std::string FunctionAt(DWORD64 address) {
  Symbol symbol{};
  symbol.info.SizeOfStruct = sizeof(symbol.info);
  symbol.info.MaxNameLen = MAX_SYM_NAME;
  DWORD64 distance = 0;
  return ::SymFromAddr(::GetCurrentProcess(), address, &distance, &symbol.info) ? symbol.info.Name : "?";
}

void Print(DWORD64 address) {
  IMAGEHLP_LINE64 line{};
  line.SizeOfStruct = sizeof(line);
  DWORD distance = 0;
  const bool hasLine = ::SymGetLineFromAddr64(::GetCurrentProcess(), address, &distance, &line) != FALSE;
  std::printf("%s\t%s\t%lu\n", FunctionAt(address).c_str(), hasLine ? line.FileName : "?",
              hasLine ? line.LineNumber : 0);
}

int Read(int count, wchar_t** words) {
  const HANDLE process = ::GetCurrentProcess();
  ::SymSetOptions(SYMOPT_LOAD_LINES | SYMOPT_UNDNAME);
  if (!::SymInitializeW(process, words[2], FALSE)) return 1;
  constexpr DWORD64 kBase = 0x20000000;
  IMAGEHLP_MODULEW64 module{};
  module.SizeOfStruct = sizeof(module);
  if (::SymLoadModuleExW(process, nullptr, words[1], nullptr, kBase, 0, nullptr, 0) == 0 ||
      !::SymGetModuleInfoW64(process, kBase, &module) || module.SymType != SymPdb) {
    return 1;
  }
  for (int i = 3; i < count; ++i) Print(kBase + std::wcstoul(words[i], nullptr, 16));
  return 0;
}

}  // namespace
}  // namespace veskard

int wmain(int count, wchar_t** words) {
  return count > 2 ? veskard::Read(count, words) : 2;
}
