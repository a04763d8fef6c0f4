// RegistrySnapshot: everything below a key as text, to compare before and after.
#pragma once

#include <windows.h>

#include <map>
#include <string>

namespace veskard::test {

/// "Software\Key" for each key and "Software\Key|name" for each value; a value's
/// text is its type and its data ("REG_SZ text", "4 01000000").
using RegistrySnapshot = std::map<std::wstring, std::wstring>;

/// As programs of this one's bitness see it.
RegistrySnapshot TakeRegistrySnapshot(HKEY root, const std::wstring& path = L"");

}  // namespace veskard::test
