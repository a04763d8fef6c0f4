#include "tests/support/SyncTree.h"

#include <windows.h>

#include <cstdio>
#include <cstdlib>

#include "core/WindowsOwners.h"

namespace veskard::test {
namespace {

[[noreturn]] void Fail(const char* what, const std::wstring& path) {
  std::fprintf(stderr, "cannot %s %ls: error %lu\n", what, path.c_str(), ::GetLastError());
  std::abort();
}

void MakeFolders(const std::wstring& path, size_t from) {
  for (size_t end = path.find(L'\\', from); end != std::wstring::npos; end = path.find(L'\\', end + 1)) {
    ::CreateDirectoryW(path.substr(0, end).c_str(), nullptr);
  }
}

void WriteBytes(const std::wstring& path, std::string_view bytes) {
  const UniqueFile file(::CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_ALWAYS,
                                      FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file) Fail("create", path);
  DWORD written = 0;
  const auto size = static_cast<DWORD>(bytes.size());
  if (!::WriteFile(file.Get(), bytes.data(), size, &written, nullptr) || written != size) Fail("write", path);
}

}  // namespace

std::wstring SyncTree::Path(std::wstring_view relative) const {
  return relative.empty() ? folder_.Path() : folder_ / std::wstring(relative);
}

std::wstring SyncTree::MakeFolder(std::wstring_view relative) {
  const std::wstring path = Path(relative);
  MakeFolders(path + L"\\", folder_.Path().size() + 1);
  return path;
}

std::wstring SyncTree::MakeFile(std::wstring_view relative, std::string_view bytes) {
  const std::wstring path = Path(relative);
  MakeFolders(path, folder_.Path().size() + 1);
  WriteBytes(path, bytes);
  return path;
}

void SyncTree::WriteStream(std::wstring_view relative, std::wstring_view stream, std::string_view bytes) {
  const std::wstring path = Path(relative);
  if (::GetFileAttributesW(path.c_str()) == INVALID_FILE_ATTRIBUTES) MakeFile(relative);
  WriteBytes(path + L":" + std::wstring(stream), bytes);
}

std::wstring SyncTree::MarkRoot(std::wstring_view relative) {
  const std::wstring prefix = relative.empty() ? std::wstring() : std::wstring(relative) + L"\\";
  MakeFile(prefix + L".sync\\ID");
  return Path(relative);
}

std::wstring SyncTree::MarkRoot(std::wstring_view relative, std::string_view record) {
  const std::wstring prefix = relative.empty() ? std::wstring() : std::wstring(relative) + L"\\";
  MakeFile(prefix + L".sync\\FolderType", record);
  return MarkRoot(relative);
}

std::wstring SyncTree::MakePlaceholder(std::wstring_view relative, std::string_view status) {
  WriteStream(relative, L"com.nimbrel.VeskardAgent", status);
  return Path(relative);
}

std::string SelectiveOwnedBy(std::string_view owner) {
  return "d4:modei1e5:owner" + std::to_string(owner.size()) + ":" + std::string(owner) + "4:typei2ee";
}

}  // namespace veskard::test
