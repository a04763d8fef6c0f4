#include "tests/support/RegistrySnapshot.h"

#include <iomanip>
#include <sstream>
#include <vector>

#include "core/WindowsOwners.h"

namespace veskard::test {
namespace {

constexpr DWORD kNameLimit = 16384;

std::wstring Describe(DWORD type, const std::vector<BYTE>& data) {
  if (type == REG_SZ && data.size() % sizeof(wchar_t) == 0 && data.size() >= sizeof(wchar_t)) {
    const std::wstring text(reinterpret_cast<const wchar_t*>(data.data()), data.size() / sizeof(wchar_t));
    // Exactly one terminator belongs to the data.
    if (text.find(L'\0') == text.size() - 1) return L"REG_SZ " + text.substr(0, text.size() - 1);
  }
  std::wostringstream out;
  out << type << L' ' << std::hex << std::setfill(L'0');
  for (const BYTE byte : data) out << std::setw(2) << static_cast<unsigned>(byte);
  return out.str();
}

void AddValues(RegistrySnapshot& snapshot, HKEY key, const std::wstring& path) {
  std::wstring name(kNameLimit, L'\0');
  for (DWORD index = 0;; ++index) {
    DWORD length = kNameLimit;
    DWORD size = 0;
    DWORD type = 0;
    if (::RegEnumValueW(key, index, name.data(), &length, nullptr, &type, nullptr, &size) != ERROR_SUCCESS)
      return;
    std::vector<BYTE> data(size);
    length = kNameLimit;
    ::RegEnumValueW(key, index, name.data(), &length, nullptr, &type, data.data(), &size);
    snapshot[path + L"|" + name.substr(0, length)] = Describe(type, data);
  }
}

// Whether it is the door to the view of 32-bit programs. To these it leads to what they see
// anyway, which would be met twice.
bool IsOwnViewAgain(const std::wstring& name) {
  BOOL isFor32Bits = FALSE;
  ::IsWow64Process(::GetCurrentProcess(), &isFor32Bits);
  return isFor32Bits && name == L"Wow6432Node";
}

void AddTree(RegistrySnapshot& snapshot, HKEY root, const std::wstring& path) {
  UniqueRegKey key;
  if (::RegOpenKeyExW(root, path.c_str(), 0, KEY_READ, key.Out()) != ERROR_SUCCESS) return;
  snapshot[path] = L"";
  AddValues(snapshot, key.Get(), path);
  std::wstring name(kNameLimit, L'\0');
  for (DWORD index = 0;; ++index) {
    DWORD length = kNameLimit;
    if (::RegEnumKeyExW(key.Get(), index, name.data(), &length, nullptr, nullptr, nullptr, nullptr) !=
        ERROR_SUCCESS)
      return;
    const std::wstring child = name.substr(0, length);
    if (!IsOwnViewAgain(child)) AddTree(snapshot, root, path.empty() ? child : path + L"\\" + child);
  }
}

}  // namespace

RegistrySnapshot TakeRegistrySnapshot(HKEY root, const std::wstring& path) {
  RegistrySnapshot snapshot;
  AddTree(snapshot, root, path);
  return snapshot;
}

}  // namespace veskard::test
