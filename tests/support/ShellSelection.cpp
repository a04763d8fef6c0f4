#include "tests/support/ShellSelection.h"

#include <gtest/gtest.h>
#include <shlobj.h>

namespace veskard::test {
namespace {

/// Lists of the shell, freed at the end.
class IdLists {
 public:
  IdLists() = default;
  ~IdLists() {
    for (auto* list : lists_) ::CoTaskMemFree(list);
  }
  IdLists(const IdLists&) = delete;
  IdLists& operator=(const IdLists&) = delete;

  void AddThisPc() {
    PIDLIST_ABSOLUTE list = nullptr;
    EXPECT_EQ(::SHGetFolderLocation(nullptr, CSIDL_DRIVES, nullptr, 0, &list), S_OK);
    lists_.push_back(list);
  }
  void Add(const std::wstring& path) {
    PIDLIST_ABSOLUTE list = nullptr;
    EXPECT_EQ(::SHParseDisplayName(path.c_str(), nullptr, &list, 0, nullptr), S_OK) << path.size();
    if (list != nullptr) lists_.push_back(list);
  }
  UniqueCom<IShellItemArray> Array() const {
    UniqueCom<IShellItemArray> array;
    std::vector<PCIDLIST_ABSOLUTE> lists(lists_.begin(), lists_.end());
    EXPECT_EQ(::SHCreateShellItemArrayFromIDLists(static_cast<UINT>(lists.size()), lists.data(), array.Out()),
              S_OK);
    return array;
  }

 private:
  std::vector<PIDLIST_ABSOLUTE> lists_;
};

}  // namespace

UniqueCom<IShellItemArray> NewShellArray(const std::vector<std::wstring>& paths) {
  IdLists lists;
  for (const std::wstring& path : paths) lists.Add(path);
  return lists.Array();
}

UniqueCom<IShellItemArray> NewShellArrayWithThisPc(const std::vector<std::wstring>& paths) {
  IdLists lists;
  lists.AddThisPc();
  for (const std::wstring& path : paths) lists.Add(path);
  return lists.Array();
}

}  // namespace veskard::test
