// The owners of the operating system's resources, one line each: no other
// place closes a handle, key, icon, bitmap or block of the system. GDI+'s objects
// have theirs in core/GdiplusOwners.h.
#pragma once

#include <windows.h>

#include <type_traits>

#include "core/Owner.h"

namespace veskard {

/// Keeps the thread's last error as it is across a scope, so that freeing
/// something never hides why an earlier call failed.
class LastErrorKeeper {
 public:
  LastErrorKeeper() noexcept : error_(::GetLastError()) {}
  ~LastErrorKeeper() { ::SetLastError(error_); }
  LastErrorKeeper(const LastErrorKeeper&) = delete;
  LastErrorKeeper& operator=(const LastErrorKeeper&) = delete;

 private:
  DWORD error_;
};

/// Traits of a resource whose "nothing" is null and that `CloseFunction` frees.
template <class T, auto CloseFunction>
struct NullableResource {
  using Value = T;
  static constexpr Value Invalid() noexcept { return Value{}; }
  static void Close(Value value) noexcept {
    const LastErrorKeeper keeper;
    CloseFunction(value);
  }
};

/// Traits of what `CreateFileW` and `CreateNamedPipeW` return: "nothing" is the
/// invalid-handle value, not null.
struct FileHandleResource {
  using Value = HANDLE;
  static Value Invalid() noexcept { return INVALID_HANDLE_VALUE; }
  static void Close(Value value) noexcept {
    const LastErrorKeeper keeper;
    ::CloseHandle(value);
  }
};

/// Traits of a search opened by `FindFirstFileW` or `FindFirstFileExW`.
struct FindHandleResource {
  using Value = HANDLE;
  static Value Invalid() noexcept { return INVALID_HANDLE_VALUE; }
  static void Close(Value value) noexcept {
    const LastErrorKeeper keeper;
    ::FindClose(value);
  }
};

/// Traits of the screen's device context, borrowed with `GetDC(nullptr)`.
struct ScreenDcResource {
  using Value = HDC;
  static constexpr Value Invalid() noexcept { return nullptr; }
  static void Close(Value value) noexcept {
    const LastErrorKeeper keeper;
    ::ReleaseDC(nullptr, value);
  }
};

/// Traits of a reference to a COM object.
template <class Interface>
struct ComResource {
  using Value = Interface*;
  static constexpr Value Invalid() noexcept { return nullptr; }
  static void Close(Value value) noexcept { value->Release(); }
};

using UniqueFile = Owner<FileHandleResource>;
using UniqueFind = Owner<FindHandleResource>;
using UniqueHandle = Owner<NullableResource<HANDLE, &::CloseHandle>>;
using UniqueRegKey = Owner<NullableResource<HKEY, &::RegCloseKey>>;
using UniqueModule = Owner<NullableResource<HMODULE, &::FreeLibrary>>;
using UniqueLocalMemory = Owner<NullableResource<HLOCAL, &::LocalFree>>;
using UniqueIcon = Owner<NullableResource<HICON, &::DestroyIcon>>;
using UniqueBitmap = Owner<NullableResource<HBITMAP, &::DeleteObject>>;
using UniqueMemoryDc = Owner<NullableResource<HDC, &::DeleteDC>>;
using UniqueScreenDc = Owner<ScreenDcResource>;
using UniqueMenu = Owner<NullableResource<HMENU, &::DestroyMenu>>;
template <class Interface>
using UniqueCom = Owner<ComResource<Interface>>;

/// Adds a reference to `object` and holds it; null holds nothing.
template <class Interface>
UniqueCom<Interface> HoldCom(Interface* object) noexcept {
  if (object != nullptr) object->AddRef();
  return UniqueCom<Interface>(object);
}

}  // namespace veskard
