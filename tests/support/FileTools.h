// Makes and reads files in tests, by direct calls of the system. A failure ends the test
// program.
#pragma once

#include <windows.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace veskard::test {

/// Writes a file or, by the name "file:stream", a stream; replaces what is there.
void WriteBytes(const std::wstring& path, std::string_view bytes);

/// The contents, "(missing)" when it cannot be opened.
std::string ReadBytes(const std::wstring& path);

bool Exists(const std::wstring& path);
bool IsReadOnly(const std::wstring& path);

/// Sets or clears the one attribute and keeps the others.
void SetReadOnly(const std::wstring& path, bool readOnly = true);

void MakeFolder(const std::wstring& path);

/// Names in a folder, sorted, without "." and "..".
std::vector<std::wstring> NamesIn(const std::wstring& folder);

/// Open handles of this process, counted by asking about each possible value below
/// `end`, since Wine answers `GetProcessHandleCount` with 0. Values are multiples of four,
/// given from the bottom. The usual end leaves room for five hundred, some ten times what
/// a test opens, and is near enough to be asked for after every single failing call.
size_t CountOpenHandles(uintptr_t end = 0x800) noexcept;

/// `folder` made longer, with folders that are created, so that it and a backslash
/// and a name of `nameLength` characters have `total` characters together.
std::wstring FolderForLength(const std::wstring& folder, size_t total, size_t nameLength);

}  // namespace veskard::test
