#include "tools/shellprobe/UsualLibrary.h"

#include <windows.h>

#include <vector>

#include "core/ModuleHandle.h"
#include "core/Product.h"
#include "tools/common/Utf8.h"
#include "tools/shellprobe/RegisteredLibrary.h"

namespace veskard {
namespace {

std::wstring FolderOf(const std::wstring& path) {
  const size_t end = path.find_last_of(L'\\');
  return end == std::wstring::npos ? std::wstring() : path.substr(0, end);
}

std::vector<std::wstring> UsualFolders() {
  std::vector<std::wstring> folders;
  for (const std::wstring& file : {ReadModulePath(nullptr), RegisteredLibraryPath(KEY_WOW64_64KEY),
                                   RegisteredLibraryPath(KEY_WOW64_32KEY)}) {
    const std::wstring folder = FolderOf(file);
    if (!folder.empty()) folders.insert(folders.end(), {folder, folder + L"\\x86", FolderOf(folder)});
  }
  return folders;
}

}  // namespace

bool FitsView(const std::wstring& file, const RegistryView& view) {
  return ArchitectureOfFile(file) == view.programs && FileVersionText(file) == ToUtf8(kVersionText);
}

std::wstring UsualLibraryFor(const RegistryView& view) {
  for (const std::wstring& folder : UsualFolders()) {
    std::wstring file = folder + L"\\VeskardShellExt.dll";
    if (FitsView(file, view)) return file;
  }
  return {};
}

bool IsViewExpected(const RegistryView& view) {
  return view.flag == kOwnView || !RegisteredLibraryPath(view.flag).empty() || !UsualLibraryFor(view).empty();
}

}  // namespace veskard
