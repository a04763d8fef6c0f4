// UniversalName: asking the network for the UNC form of a path.
#pragma once

#include <windows.h>
// The network's calls need the basic types.
#include <winnetwk.h>

#include <string>

namespace veskard {

using UniversalNameQuery = DWORD(WINAPI*)(const wchar_t* path, DWORD level, void* buffer, DWORD* size);

/// What `query` answers for `path`, with a buffer of 65544 bytes; `path` itself
/// when it fails or reports a size of zero. Throws std::bad_alloc only.
std::wstring QueryUniversalName(const std::wstring& path, UniversalNameQuery query);

/// The UNC form of a path on a mapped network drive; any other path unchanged. Throws
/// std::bad_alloc only.
std::wstring ToUniversalName(const std::wstring& path);

}  // namespace veskard
