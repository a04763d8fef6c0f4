// RegisteredValues: what registration is to leave in the registry, written down a
// second time and on its own.
#pragma once

#include <string>
#include <vector>

#include "tests/support/RegistrySnapshot.h"

namespace veskard {

// Each is written out whole: one that is made from others would need these to be
// initialised first, which not every compiler sees to.
inline const std::wstring kMenuId = L"{8AF59405-CC05-0002-0702-AE6472CC92B2}";
inline const std::wstring kIconId = L"{8AF59406-CC05-0002-0702-AE6472CC92B2}";
inline const std::wstring kHandler = L"Nimbrel Veskard Agent Service 2.7.2";
inline const std::wstring kClasses = L"Software\\Classes\\";
inline const std::wstring kMenuClass = L"Software\\Classes\\CLSID\\{8AF59405-CC05-0002-0702-AE6472CC92B2}";
inline const std::wstring kIconClass = L"Software\\Classes\\CLSID\\{8AF59406-CC05-0002-0702-AE6472CC92B2}";
inline const std::wstring kAllFiles =
    L"Software\\Classes\\*\\shellex\\ContextMenuHandlers\\Nimbrel Veskard Agent Service 2.7.2";
inline const std::wstring kShortcuts =
    L"Software\\Classes\\lnkfile\\shellex\\ContextMenuHandlers\\Nimbrel Veskard Agent Service 2.7.2";
inline const std::wstring kFolders =
    L"Software\\Classes\\Directory\\shellex\\ContextMenuHandlers\\Nimbrel Veskard Agent Service 2.7.2";
inline const std::wstring kIconHandler = L"Software\\Classes\\Nimbrel Veskard Agent\\shellex\\IconHandler";

/// A key that registration makes, with the rows that write to it.
struct WrittenKey {
  std::wstring key;
  std::wstring valueName;
  std::wstring data;
};

inline std::vector<WrittenKey> TenRows(const std::wstring& server) {
  return {
      {kMenuClass, L"", kHandler},
      {kMenuClass + L"\\InprocServer32", L"", server},
      {kMenuClass + L"\\InprocServer32", L"ThreadingModel", L"Apartment"},
      {kAllFiles, L"", kMenuId},
      {kShortcuts, L"", kMenuId},
      {kFolders, L"", kMenuId},
      {kIconClass, L"", kHandler},
      {kIconClass + L"\\InprocServer32", L"", server},
      {kIconClass + L"\\InprocServer32", L"ThreadingModel", L"Apartment"},
      {kIconHandler, L"", kIconId},
  };
}

/// What the registry holds once the first `rows` are written: the values, their
/// keys and the keys' parents.
inline test::RegistrySnapshot Written(const std::vector<WrittenKey>& rows) {
  test::RegistrySnapshot snapshot = {{L"", L""}};
  for (const WrittenKey& row : rows) {
    for (size_t end = row.key.find(L'\\'); end != std::wstring::npos; end = row.key.find(L'\\', end + 1))
      snapshot[row.key.substr(0, end)] = L"";
    snapshot[row.key] = L"";
    snapshot[row.key + L"|" + row.valueName] = L"REG_SZ " + row.data;
  }
  return snapshot;
}

}  // namespace veskard
