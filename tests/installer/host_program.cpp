// A program that has the extension loaded while it is upgraded or removed, as
// Explorer has. It obeys lines of standard input until that ends and answers each
// with one line:
//
//   activate CLASSID    makes an object through COM and keeps it; the result code
//                       and the library that the object's code comes from
//   load PATH           loads that library and keeps it; the result code
//   ask                 asks the first object for another interface; the result code
#include <windows.h>

#include <objbase.h>

#include <cstdio>
#include <iostream>
#include <string>
#include <vector>

#include "core/ModuleHandle.h"
#include "core/WindowsOwners.h"
#include "tools/common/ToolError.h"
#include "tools/common/Utf8.h"
#include "tools/shellprobe/ComApartment.h"

namespace veskard {
namespace {

std::string LibraryOf(IUnknown* object) {
  // An object begins with the address of its table of functions, which lies in its library.
  const auto table = *reinterpret_cast<const wchar_t* const*>(object);
  HMODULE library = nullptr;
  ::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       table, &library);
  return ToUtf8(ReadModulePath(library));
}

class Host {
 public:
  std::string Obey(const std::string& line) {
    constexpr std::string_view kActivate = "activate ";
    constexpr std::string_view kLoad = "load ";
    if (line.starts_with(kLoad)) return Load(line.substr(kLoad.size()));
    return line.starts_with(kActivate) ? Activate(line.substr(kActivate.size())) : Ask();
  }

 private:
  std::string Activate(const std::string& classId) {
    CLSID id = {};
    ::CLSIDFromString(std::wstring(classId.begin(), classId.end()).c_str(), &id);
    UniqueCom<IUnknown> object;
    const HRESULT result =
        ::CoCreateInstance(id, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown, OutVoid(object));
    if (FAILED(result)) return HexCode(result);
    objects_.push_back(std::move(object));
    return HexCode(result) + " " + LibraryOf(objects_.back().Get());
  }

  std::string Load(const std::string& path) {
    libraries_.emplace_back(::LoadLibraryW(FromUtf8(path).c_str()));
    return HexCode(libraries_.back() ? S_OK : HRESULT_FROM_WIN32(::GetLastError()));
  }

  std::string Ask() {
    UniqueCom<IUnknown> face;
    return HexCode(objects_.front().Get()->QueryInterface(IID_IPersistFile, OutVoid(face)));
  }

  std::vector<UniqueModule> libraries_;
  ComApartment apartment_;
  std::vector<UniqueCom<IUnknown>> objects_;
};

}  // namespace
}  // namespace veskard

int main() {
  veskard::Host host;
  for (std::string line; std::getline(std::cin, line);) std::cout << host.Obey(line) << std::endl;
  return 0;
}
