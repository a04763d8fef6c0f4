#include "fs/util/ReadWholeFile.h"

#include <limits>
#include <new>

#include "fs/util/OpenMode.h"

namespace veskard {

std::unique_ptr<char[]> ReadWholeFile(const std::wstring& path, size_t& size) {
  size = 0;
  const UniqueFile file = OpenByMode(path, kModeRead, 0);
  LARGE_INTEGER length;
  if (!file || !::GetFileSizeEx(file.Get(), &length)) return nullptr;
  if (length.QuadPart >= std::numeric_limits<DWORD>::max()) return nullptr;
  const auto wanted = static_cast<DWORD>(length.QuadPart);
  std::unique_ptr<char[]> bytes(new (std::nothrow) char[size_t{wanted} + 1]);
  DWORD read = 0;
  if (!bytes || !::ReadFile(file.Get(), bytes.get(), wanted, &read, nullptr) || read != wanted)
    return nullptr;
  bytes[wanted] = '\0';
  size = wanted;
  return bytes;
}

}  // namespace veskard
