#include "tools/shellprobe/ExtensionClasses.h"

#include <objbase.h>

#include <vector>

#include "core/ModuleHandle.h"
#include "core/Product.h"
#include "shellext/ClassIds.h"
#include "tools/common/ToolError.h"
#include "tools/common/Utf8.h"
#include "tools/shellprobe/ProbeExit.h"

namespace veskard {
namespace {

// Names, identifiers and paths fit; anything longer is of another origin.
constexpr size_t kLongestText = 1024;

ToolError NotRegistered(const std::string& what) {
  return ToolError(kNotRegistered, what + "; register it with: regsvr32 /n /i:S VeskardShellExt.dll");
}

CLSID ReadClassId(const std::wstring& key) {
  const std::optional<std::wstring> text = ReadMachineText(key);
  if (!text)
    throw NotRegistered("the extension is not registered (no HKEY_LOCAL_MACHINE\\" + ToUtf8(key) + ")");
  CLSID classId = {};
  if (FAILED(::CLSIDFromString(text->c_str(), &classId))) {
    throw NotRegistered("HKEY_LOCAL_MACHINE\\" + ToUtf8(key) + " holds no class identifier");
  }
  return classId;
}

UniqueCom<IUnknown> Activate(const CLSID& classId) {
  UniqueCom<IUnknown> object;
  const HRESULT result =
      ::CoCreateInstance(classId, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown, OutVoid(object));
  if (FAILED(result))
    throw NotRegistered("the registered class cannot be activated (" + HexCode(result) + ")");
  return object;
}

}  // namespace

ExtensionClasses::ExtensionClasses(const std::wstring& library)
    : library_(::LoadLibraryExW(library.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH)) {
  if (!library_) throw LastSystemError("cannot load " + ToUtf8(library));
}

UniqueCom<IUnknown> ExtensionClasses::NewMenuHandler(const std::wstring& path) const {
  if (library_) return FromLibrary(ClassId(kContextMenuClass));
  return Activate(ReadClassId(MenuHandlerKey(FileClassOf(path))));
}

UniqueCom<IUnknown> ExtensionClasses::NewIconHandler() const {
  return library_ ? FromLibrary(ClassId(kFileIconClass)) : Activate(ReadClassId(IconHandlerKey()));
}

UniqueCom<IUnknown> ExtensionClasses::NewExplorerCommand() const {
  return FromLibrary(ClassId(kExplorerCommandClass));
}

UniqueCom<IUnknown> ExtensionClasses::FromLibrary(const CLSID& classId) const {
  using GetClassObject = HRESULT(WINAPI*)(REFCLSID, REFIID, void**);
  const FARPROC address = ::GetProcAddress(library_.Get(), "DllGetClassObject");
  if (address == nullptr) throw LastSystemError("the library has no DllGetClassObject");
  // Through void*: the two function types have nothing in common but their address.
  const auto getClassObject = reinterpret_cast<GetClassObject>(reinterpret_cast<void*>(address));
  UniqueCom<IClassFactory> factory;
  HRESULT result = getClassObject(classId, IID_IClassFactory, OutVoid(factory));
  UniqueCom<IUnknown> object;
  if (SUCCEEDED(result)) result = factory.Get()->CreateInstance(nullptr, IID_IUnknown, OutVoid(object));
  if (FAILED(result)) {
    throw ToolError(kNotRegistered, "the library does not provide the class (" + HexCode(result) + ")");
  }
  return object;
}

std::wstring LibraryOfObject(IUnknown* object) {
  // An object begins with the address of its class's table of methods, which lies in the library.
  const auto* const methods = *reinterpret_cast<const wchar_t* const*>(object);
  constexpr DWORD kByAddress =
      GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
  HMODULE module = nullptr;
  if (!::GetModuleHandleExW(kByAddress, methods, &module)) return {};
  return ReadModulePath(module);
}

std::wstring FileClassOf(const std::wstring& path) {
  const DWORD attributes = ::GetFileAttributesW(path.c_str());
  const bool isFolder = attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
  if (isFolder) return L"Directory";
  const size_t dot = path.find_last_of(L".\\/");
  const bool isLink = dot != std::wstring::npos && ::lstrcmpiW(path.c_str() + dot, L".lnk") == 0;
  return isLink ? L"lnkfile" : L"*";
}

std::wstring MenuHandlerKey(const std::wstring& fileClass) {
  return L"Software\\Classes\\" + fileClass + L"\\shellex\\ContextMenuHandlers\\" + kAgentName +
         L" Service " + kVersionText;
}

std::wstring IconHandlerKey() {
  return std::wstring(L"Software\\Classes\\") + kAgentName + L"\\shellex\\IconHandler";
}

std::optional<std::wstring> ReadMachineText(const std::wstring& key, const wchar_t* value, REGSAM view) {
  UniqueRegKey opened;
  if (::RegOpenKeyExW(HKEY_LOCAL_MACHINE, key.c_str(), 0, KEY_READ | view, opened.Out()) != ERROR_SUCCESS) {
    return std::nullopt;
  }
  std::vector<wchar_t> text(kLongestText);
  auto size = static_cast<DWORD>(text.size() * sizeof(wchar_t));
  const LSTATUS status =
      ::RegGetValueW(opened.Get(), nullptr, value, RRF_RT_REG_SZ, nullptr, text.data(), &size);
  if (status != ERROR_SUCCESS) return std::nullopt;
  return std::wstring(text.data());
}

}  // namespace veskard
