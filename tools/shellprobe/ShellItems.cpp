#include "tools/shellprobe/ShellItems.h"

// After the header of the items, which includes windows.h.
#include <shlobj.h>

#include "core/Owner.h"
#include "tools/common/ToolError.h"
#include "tools/common/Utf8.h"

namespace veskard {
namespace {

struct ItemListResource {
  using Value = ITEMIDLIST*;
  static constexpr Value Invalid() noexcept { return nullptr; }
  static void Close(Value list) noexcept { ::CoTaskMemFree(list); }
};
using UniqueItemList = Owner<ItemListResource>;

UniqueItemList MakeItemList(const std::wstring& path) {
  UniqueItemList list;
  const HRESULT result = ::SHParseDisplayName(path.c_str(), nullptr, list.Out(), 0, nullptr);
  if (FAILED(result)) {
    throw ToolError(ExitCode::kFailed,
                    "the Shell has no item for " + ToUtf8(path) + " (" + HexCode(result) + ")");
  }
  return list;
}

}  // namespace

UniqueCom<IShellItemArray> MakeShellItems(const std::vector<std::wstring>& paths) {
  std::vector<UniqueItemList> owners;
  std::vector<LPCITEMIDLIST> lists;
  for (const std::wstring& path : paths) {
    owners.push_back(MakeItemList(path));
    lists.push_back(owners.back().Get());
  }
  UniqueCom<IShellItemArray> items;
  const HRESULT result =
      ::SHCreateShellItemArrayFromIDLists(static_cast<UINT>(lists.size()), lists.data(), items.Out());
  if (FAILED(result))
    throw ToolError(ExitCode::kFailed,
                    "the Shell cannot make a selection of the paths (" + HexCode(result) + ")");
  return items;
}

}  // namespace veskard
