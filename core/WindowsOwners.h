// The owners of the operating system's resources, one line each: no other
// place closes a handle, key, icon, bitmap or block of the system. GDI+'s objects
// have theirs in core/GdiplusOwners.h.
#pragma once

#include <windows.h>

#include <cstdint>

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

/// Traits of a resource that `kClose` frees; null and `kInvalid` mean "nothing".
template <class T, auto kClose, intptr_t kInvalid = 0>
struct SystemResource {
  using Value = T;
  static constexpr Value Invalid() noexcept {
    if constexpr (kInvalid == 0) {
      return nullptr;
    } else {
      return reinterpret_cast<Value>(kInvalid);
    }
  }
  static void Close(Value value) noexcept {
    const LastErrorKeeper keeper;
    kClose(value);
  }
};

/// What functions that open files and searches return for "nothing": INVALID_HANDLE_VALUE.
inline constexpr intptr_t kInvalidHandle = -1;

/// Gives back the screen's device context, borrowed with `GetDC(nullptr)`.
inline void ReleaseScreenDc(HDC dc) noexcept {
  ::ReleaseDC(nullptr, dc);
}

/// Traits of a reference to a COM object.
template <class Interface>
struct ComResource {
  using Value = Interface*;
  static constexpr Value Invalid() noexcept { return nullptr; }
  static void Close(Value value) noexcept { value->Release(); }
};

using UniqueFile = Owner<SystemResource<HANDLE, &::CloseHandle, kInvalidHandle>>;
using UniqueFind = Owner<SystemResource<HANDLE, &::FindClose, kInvalidHandle>>;
using UniqueHandle = Owner<SystemResource<HANDLE, &::CloseHandle>>;
using UniqueRegKey = Owner<SystemResource<HKEY, &::RegCloseKey>>;
using UniqueModule = Owner<SystemResource<HMODULE, &::FreeLibrary>>;
using UniqueLocalMemory = Owner<SystemResource<HLOCAL, &::LocalFree>>;
using UniqueIcon = Owner<SystemResource<HICON, &::DestroyIcon>>;
using UniqueBitmap = Owner<SystemResource<HBITMAP, &::DeleteObject>>;
using UniqueMemoryDc = Owner<SystemResource<HDC, &::DeleteDC>>;
using UniqueScreenDc = Owner<SystemResource<HDC, &ReleaseScreenDc>>;
using UniqueMenu = Owner<SystemResource<HMENU, &::DestroyMenu>>;
template <class Interface>
using UniqueCom = Owner<ComResource<Interface>>;

/// Adds a reference to `object` and holds it; null holds nothing.
template <class Interface>
UniqueCom<Interface> HoldCom(Interface* object) noexcept {
  if (object != nullptr) object->AddRef();
  return UniqueCom<Interface>(object);
}

}  // namespace veskard
