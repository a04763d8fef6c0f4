#include "tests/torture/Imports.h"

#include <windows.h>
// The image lists' header needs the common controls' types.
#include <commctrl.h>

#include <aclapi.h>
#include <commoncontrols.h>
#include <sddl.h>
#include <shellapi.h>
#include <shlobj.h>
#include <shlwapi.h>
#include <winnetwk.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <map>
#include <string>
#include <type_traits>
#include <vector>

#include "core/GdiplusOwners.h"
#include "tests/torture/Faults.h"
#include "tools/common/ImportSlot.h"

namespace veskard::test {
namespace {

// --- One function ---

/// A function's name as a template's argument.
template <size_t kSize>
struct FunctionName {
  constexpr FunctionName(const char (&name)[kSize]) { std::copy_n(name, kSize, text); }
  char text[kSize] = {};
};

/// Stands in front of one function: counts what it takes and gives, and lets it
/// fail when the plan says so.
template <FunctionName kName, class Function>
struct Import;

template <FunctionName kName, class Answer, class... Args>
struct Import<kName, Answer (*)(Args...)> {
  static Answer Call(Args... args) {
    if constexpr (std::is_void_v<Answer>) {
      Faults::Take(held, change);
      original(args...);
    } else {
      if (canFail && Faults::Strikes(FaultKind::kSystemCall, kName.text)) {
        ::SetLastError(error);
        return failure;
      }
      const Answer answer = original(args...);
      if (Succeeded(answer)) Faults::Take(held, change);
      return answer;
    }
  }

  using Value = std::conditional_t<std::is_void_v<Answer>, int, Answer>;
  static bool Succeeded(Value answer) noexcept {
    if constexpr (std::is_same_v<Answer, Gdiplus::GpStatus>) return answer == Gdiplus::Ok;
    return !canFail || answer != failure;
  }

  static inline Answer (*original)(Args...) = nullptr;
  static inline bool canFail = false;
  static inline Value failure{};
  static inline DWORD error = ERROR_SUCCESS;
  static inline Held held = Held::kNothing;
  static inline ptrdiff_t change = 0;
};

template <FunctionName kName, class Function>
WatchedImport RowOf() {
  using Row = Import<kName, Function>;
  return {kName.text, reinterpret_cast<void*>(&Row::Call), reinterpret_cast<void**>(&Row::original)};
}

/// `failure` is what the function answers when it fails, `error` what it leaves as
/// the thread's last error; when it does not fail it takes one of `held`.
template <FunctionName kName, class Function, class Failure>
WatchedImport Fails(Failure failure, DWORD error, Held held = Held::kNothing) {
  using Row = Import<kName, Function>;
  Row::canFail = true;
  Row::failure = static_cast<typename Row::Value>(failure);
  Row::error = error;
  Row::held = held;
  Row::change = 1;
  return RowOf<kName, Function>();
}

/// Never fails here, and changes what is held: +1 takes, -1 gives back.
template <FunctionName kName, class Function>
WatchedImport Counts(Held held, ptrdiff_t change) {
  using Row = Import<kName, Function>;
  Row::held = held;
  Row::change = change;
  return RowOf<kName, Function>();
}

// --- The functions whose effect depends on more than their answer ---

decltype(&std::malloc) originalMalloc;
decltype(&std::calloc) originalCalloc;
decltype(&std::realloc) originalRealloc;
decltype(&std::free) originalFree;
decltype(&::GetModuleHandleExW) originalGetModuleHandleEx;
decltype(&::FreeLibraryAndExitThread) originalFreeLibraryAndExitThread;
decltype(&::GetNamedSecurityInfoW) originalGetNamedSecurityInfo;
decltype(&::LocalFree) originalLocalFree;

void* Taken(void* block) noexcept {
  if (block != nullptr) Faults::Take(Held::kBlock, 1);
  return block;
}

bool IsMemoryAtItsEnd(const char* function) noexcept {
  if (!Faults::Strikes(FaultKind::kAllocation, function)) return false;
  errno = ENOMEM;
  return true;
}

void* Malloc(size_t size) {
  return IsMemoryAtItsEnd("malloc") ? nullptr : Taken(originalMalloc(size));
}

void* Calloc(size_t count, size_t size) {
  return IsMemoryAtItsEnd("calloc") ? nullptr : Taken(originalCalloc(count, size));
}

void* Realloc(void* old, size_t size) {
  if (IsMemoryAtItsEnd("realloc")) return nullptr;
  return old == nullptr ? Taken(originalRealloc(old, size)) : originalRealloc(old, size);
}

void Free(void* block) {
  if (block != nullptr) Faults::Take(Held::kBlock, -1);
  originalFree(block);
}

BOOL WINAPI GetModuleHandleEx(DWORD flags, const wchar_t* name, HMODULE* module) {
  if (Faults::Strikes(FaultKind::kSystemCall, "GetModuleHandleExW")) {
    ::SetLastError(ERROR_NO_SYSTEM_RESOURCES);
    return FALSE;
  }
  const BOOL found = originalGetModuleHandleEx(flags, name, module);
  if (found && (flags & GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT) == 0) Faults::Take(Held::kModule, 1);
  return found;
}

void WINAPI FreeModuleAndExitThread(HMODULE module, DWORD exitCode) {
  Faults::Take(Held::kModule, -1);
  Faults::Take(Held::kSender, -1);
  originalFreeLibraryAndExitThread(module, exitCode);
}

DWORD WINAPI GetNamedSecurityInfo(LPWSTR name, SE_OBJECT_TYPE type, SECURITY_INFORMATION parts, PSID* owner,
                                  PSID* group, PACL* dacl, PACL* sacl, PSECURITY_DESCRIPTOR* descriptor) {
  if (Faults::Strikes(FaultKind::kSystemCall, "GetNamedSecurityInfoW")) return ERROR_ACCESS_DENIED;
  const DWORD error = originalGetNamedSecurityInfo(name, type, parts, owner, group, dacl, sacl, descriptor);
  if (error == ERROR_SUCCESS) Faults::Take(Held::kLocalMemory, 1);
  return error;
}

HLOCAL WINAPI FreeLocalMemory(HLOCAL memory) {
  if (memory != nullptr) Faults::Take(Held::kLocalMemory, -1);
  return originalLocalFree(memory);
}

// The types may differ in what the compiler knows about them, such as "noreturn".
template <class Replacement, class Function>
WatchedImport ByHand(const char* name, Replacement* replacement, Function*& original) {
  return {name, reinterpret_cast<void*>(replacement), reinterpret_cast<void**>(&original)};
}

// --- The table ---

constexpr DWORD kNoResources = ERROR_NO_SYSTEM_RESOURCES;

// clang-format off
std::vector<WatchedImport> MakeTable() {
#define FAILS(name, ...) Fails<#name, decltype(&::name)>(__VA_ARGS__)
#define TAKES(name, ...) Counts<#name, decltype(&::name)>(__VA_ARGS__, 1)
#define GIVES(name, ...) Counts<#name, decltype(&::name)>(__VA_ARGS__, -1)
#define DRAWS(name) Fails<#name, decltype(&Gdiplus::DllExports::name)>(Gdiplus::OutOfMemory, kNoResources)
#define MAKES(name) \
  Fails<#name, decltype(&Gdiplus::DllExports::name)>(Gdiplus::OutOfMemory, kNoResources, Held::kGdiplusObject)
#define FREES(name) Counts<#name, decltype(&Gdiplus::DllExports::name)>(Held::kGdiplusObject, -1)
  return {
      // The C heap
      ByHand("malloc", &Malloc, originalMalloc),
      ByHand("calloc", &Calloc, originalCalloc),
      ByHand("realloc", &Realloc, originalRealloc),
      ByHand("free", &Free, originalFree),

      // Registry: the failure is the answer
      FAILS(RegOpenKeyExW,                ERROR_ACCESS_DENIED, ERROR_SUCCESS),
      FAILS(RegCreateKeyExW,              ERROR_ACCESS_DENIED, ERROR_SUCCESS),
      FAILS(RegQueryValueExW,             ERROR_NO_SYSTEM_RESOURCES, ERROR_SUCCESS),
      FAILS(RegSetValueExW,               ERROR_NO_SYSTEM_RESOURCES, ERROR_SUCCESS),
      FAILS(RegDeleteKeyW,                ERROR_ACCESS_DENIED, ERROR_SUCCESS),

      // Security
      FAILS(ConvertSecurityDescriptorToStringSecurityDescriptorW, FALSE, ERROR_NOT_ENOUGH_MEMORY,
            Held::kLocalMemory),
      FAILS(ConvertStringSecurityDescriptorToSecurityDescriptorW, FALSE, ERROR_NOT_ENOUGH_MEMORY,
            Held::kLocalMemory),
      FAILS(ConvertSidToStringSidW,       FALSE, ERROR_NOT_ENOUGH_MEMORY, Held::kLocalMemory),
      FAILS(ConvertStringSidToSidW,       FALSE, ERROR_NOT_ENOUGH_MEMORY, Held::kLocalMemory),
      FAILS(DeleteAce,                    FALSE, ERROR_INVALID_ACL),
      FAILS(GetAce,                       FALSE, ERROR_INVALID_ACL),
      ByHand("GetNamedSecurityInfoW", &GetNamedSecurityInfo, originalGetNamedSecurityInfo),
      FAILS(GetSecurityDescriptorDacl,    FALSE, ERROR_INVALID_SECURITY_DESCR),
      FAILS(GetUserNameW,                 FALSE, ERROR_NO_SYSTEM_RESOURCES),

      // Files, folders and streams
      FAILS(CreateFileW,                  INVALID_HANDLE_VALUE, ERROR_TOO_MANY_OPEN_FILES),
      FAILS(ReadFile,                     FALSE, ERROR_READ_FAULT),
      FAILS(WriteFile,                    FALSE, ERROR_DISK_FULL),
      FAILS(FlushFileBuffers,             FALSE, ERROR_DISK_FULL),
      FAILS(GetOverlappedResult,          FALSE, ERROR_DISK_FULL),
      FAILS(CancelIoEx,                   FALSE, ERROR_NOT_FOUND),
      FAILS(GetFileSizeEx,                FALSE, ERROR_UNEXP_NET_ERR),
      FAILS(GetFileInformationByHandle,   FALSE, ERROR_UNEXP_NET_ERR),
      FAILS(SetFileInformationByHandle,   FALSE, ERROR_ACCESS_DENIED),
      FAILS(SetFilePointerEx,             FALSE, ERROR_UNEXP_NET_ERR),
      FAILS(SetFileValidData,             FALSE, ERROR_PRIVILEGE_NOT_HELD),
      FAILS(GetFullPathNameW,             DWORD{0}, ERROR_NOT_ENOUGH_MEMORY),
      FAILS(GetFinalPathNameByHandleW,    DWORD{0}, ERROR_NOT_ENOUGH_MEMORY),
      FAILS(GetFileAttributesW,           INVALID_FILE_ATTRIBUTES, ERROR_ACCESS_DENIED),
      FAILS(SetFileAttributesW,           FALSE, ERROR_ACCESS_DENIED),
      FAILS(CopyFileW,                    FALSE, ERROR_DISK_FULL),
      FAILS(MoveFileExW,                  FALSE, ERROR_SHARING_VIOLATION),
      FAILS(ReplaceFileW,                 FALSE, ERROR_UNABLE_TO_REMOVE_REPLACED),
      FAILS(DeleteFileW,                  FALSE, ERROR_SHARING_VIOLATION),
      FAILS(CreateDirectoryW,             FALSE, ERROR_ACCESS_DENIED),
      FAILS(RemoveDirectoryW,             FALSE, ERROR_SHARING_VIOLATION),
      FAILS(FindFirstFileW,               INVALID_HANDLE_VALUE, ERROR_TOO_MANY_OPEN_FILES, Held::kSearch),
      FAILS(FindFirstFileExW,             INVALID_HANDLE_VALUE, ERROR_TOO_MANY_OPEN_FILES, Held::kSearch),
      FAILS(FindNextFileW,                FALSE, ERROR_NO_MORE_FILES),
      GIVES(FindClose,                    Held::kSearch),

      // Processes, threads, modules and the agent's pipe
      FAILS(CreateThread,                 nullptr, ERROR_NOT_ENOUGH_MEMORY, Held::kSender),
      FAILS(OpenThread,                   nullptr, kNoResources),
      FAILS(CreateProcessW,               FALSE, ERROR_NOT_ENOUGH_MEMORY),
      FAILS(CreateEventA,                 nullptr, kNoResources),
      FAILS(OpenMutexW,                   nullptr, ERROR_FILE_NOT_FOUND),
      FAILS(SetNamedPipeHandleState,      FALSE, ERROR_PIPE_NOT_CONNECTED),
      FAILS(GetModuleFileNameW,           DWORD{0}, ERROR_NOT_ENOUGH_MEMORY),
      FAILS(GetModuleHandleA,             nullptr, ERROR_MOD_NOT_FOUND),
      FAILS(GetModuleHandleW,             nullptr, ERROR_MOD_NOT_FOUND),
      FAILS(GetProcAddress,               nullptr, ERROR_PROC_NOT_FOUND),
      FAILS(LoadLibraryA,                 nullptr, ERROR_NOT_ENOUGH_MEMORY, Held::kModule),
      FAILS(LoadLibraryW,                 nullptr, ERROR_NOT_ENOUGH_MEMORY, Held::kModule),
      GIVES(FreeLibrary,                  Held::kModule),
      ByHand("GetModuleHandleExW", &GetModuleHandleEx, originalGetModuleHandleEx),
      ByHand("FreeLibraryAndExitThread", &FreeModuleAndExitThread, originalFreeLibraryAndExitThread),
      FAILS(FindResourceW,                nullptr, ERROR_RESOURCE_NAME_NOT_FOUND),
      FAILS(LoadResource,                 nullptr, ERROR_NOT_ENOUGH_MEMORY),
      FAILS(LockResource,                 nullptr, ERROR_SUCCESS),
      FAILS(SizeofResource,               DWORD{0}, ERROR_RESOURCE_NAME_NOT_FOUND),
      FAILS(VerifyVersionInfoW,           FALSE, ERROR_OLD_WIN_VERSION),

      // Texts and times. The run-time library alone calls FormatMessageA, and has it take
      // the memory.
      FAILS(FormatMessageA,               DWORD{0}, ERROR_MR_MID_NOT_FOUND, Held::kLocalMemory),
      ByHand("LocalFree", &FreeLocalMemory, originalLocalFree),
      FAILS(MultiByteToWideChar,          0, ERROR_NO_UNICODE_TRANSLATION),
      FAILS(WideCharToMultiByte,          0, ERROR_INSUFFICIENT_BUFFER),
      FAILS(CompareStringOrdinal,         0, ERROR_INVALID_PARAMETER),
      FAILS(GetLocaleInfoEx,              0, ERROR_INVALID_PARAMETER),
      FAILS(GetUserPreferredUILanguages,  FALSE, ERROR_NOT_ENOUGH_MEMORY),
      FAILS(GetDateFormatEx,              0, ERROR_OUTOFMEMORY),
      FAILS(GetTimeFormatEx,              0, ERROR_OUTOFMEMORY),
      FAILS(FileTimeToLocalFileTime,      FALSE, ERROR_INVALID_PARAMETER),
      FAILS(FileTimeToSystemTime,         FALSE, ERROR_INVALID_PARAMETER),

      // The Shell
      FAILS(DragQueryFileW,               0u, ERROR_SUCCESS),
      FAILS(DuplicateIcon,                nullptr, kNoResources),
      FAILS(SHGetFileInfoW,               DWORD_PTR{0}, ERROR_NOT_ENOUGH_MEMORY),
      FAILS(SHGetImageList,               E_OUTOFMEMORY, ERROR_SUCCESS),
      FAILS(SHGetStockIconInfo,           E_OUTOFMEMORY, ERROR_SUCCESS),
      FAILS(SHGetSpecialFolderPathW,      FALSE, ERROR_FILE_NOT_FOUND),
      FAILS(WNetGetUniversalNameW,        DWORD{ERROR_NOT_ENOUGH_MEMORY}, ERROR_SUCCESS),

      // Menus and pictures
      FAILS(InsertMenuW,                  FALSE, ERROR_NOT_ENOUGH_MEMORY),
      FAILS(SetMenuItemInfoW,             FALSE, ERROR_NOT_ENOUGH_MEMORY),
      FAILS(SetMenuInfo,                  FALSE, ERROR_INVALID_MENU_HANDLE),
      FAILS(GetSystemMetrics,             0, ERROR_SUCCESS),
      FAILS(LoadImageW,                   nullptr, ERROR_NOT_ENOUGH_MEMORY),
      FAILS(CreateIconIndirect,           nullptr, ERROR_NOT_ENOUGH_MEMORY),
      FAILS(GetIconInfo,                  FALSE, ERROR_NOT_ENOUGH_MEMORY),
      FAILS(GetDC,                        nullptr, ERROR_SUCCESS),
      FAILS(CreateBitmap,                 nullptr, ERROR_NOT_ENOUGH_MEMORY),
      FAILS(CreateCompatibleDC,           nullptr, ERROR_NOT_ENOUGH_MEMORY),
      FAILS(CreateDIBSection,             nullptr, ERROR_NOT_ENOUGH_MEMORY),
      FAILS(SelectObject,                 nullptr, ERROR_INVALID_HANDLE),
      FAILS(PatBlt,                       FALSE, ERROR_NOT_ENOUGH_MEMORY),

      // GDI+
      Fails<"GdiplusStartup", decltype(&Gdiplus::GdiplusStartup)>(
          Gdiplus::OutOfMemory, kNoResources, Held::kGdiplus),
      Counts<"GdiplusShutdown", decltype(&Gdiplus::GdiplusShutdown)>(Held::kGdiplus, -1),
      MAKES(GdipBitmapLockBits),          FREES(GdipBitmapUnlockBits),
      MAKES(GdipCreateBitmapFromScan0),   FREES(GdipDisposeImage),
      MAKES(GdipCreateBitmapFromHBITMAP),
      MAKES(GdipCloneBitmapAreaI),
      MAKES(GdipGetImageGraphicsContext), FREES(GdipDeleteGraphics),
      MAKES(GdipCreatePen1),              FREES(GdipDeletePen),
      MAKES(GdipCreateSolidFill),         FREES(GdipDeleteBrush),
      DRAWS(GdipCreateHBITMAPFromBitmap),
      DRAWS(GdipGetImageWidth),           DRAWS(GdipGetImageHeight),
      DRAWS(GdipGetImagePixelFormat),
      DRAWS(GdipDrawImageI),              DRAWS(GdipDrawImageRectI),
      DRAWS(GdipFillEllipseI),            DRAWS(GdipDrawEllipseI),
      DRAWS(GdipDrawArcI),

      // Locks
      TAKES(EnterCriticalSection,         Held::kLock),
      FAILS(TryEnterCriticalSection,      FALSE, ERROR_SUCCESS, Held::kLock),
      GIVES(LeaveCriticalSection,         Held::kLock),
  };
#undef FAILS
#undef TAKES
#undef GIVES
#undef DRAWS
#undef MAKES
#undef FREES
}

constexpr std::string_view kUnwatched[] = {
    // Give back what is counted in the process's own tables: kernel handles, drawing objects
    "CloseHandle", "RegCloseKey", "DeleteObject", "DeleteDC", "ReleaseDC", "DestroyIcon",
    // Gives back a selection's list, which the selection counts
    "ReleaseStgMedium",
    // Cannot fail, or whose failure says nothing but "no"
    "DeleteCriticalSection", "InitializeCriticalSection", "EqualSid", "GetACP", "GetCurrentProcess",
    "GetCurrentProcessId", "GetCurrentThread", "GetCurrentThreadId", "GetHandleInformation", "GetLastError",
    "SetLastError", "GetSystemTimeAsFileTime", "GetTickCount", "GetTickCount64", "IsDBCSLeadByteEx",
    "IsDebuggerPresent", "PathFindExtensionW", "SHChangeNotify", "Sleep", "SleepConditionVariableCS",
    "VerSetConditionMask", "WakeAllConditionVariable", "lstrcpynA", "lstrcpynW",
    // Ends the process on purpose
    "RaiseFailFastException",
    // The compiler's run-time library: threads, exceptions, relocation at load. Of these our
    // own code calls WaitForSingleObject too (core/ExceptionMemory.cpp), once, without
    // waiting; the locks of the run-time library do not bear that it fails.
    "AddVectoredExceptionHandler", "RemoveVectoredExceptionHandler", "CreateSemaphoreA", "DuplicateHandle",
    "GetProcessAffinityMask", "SetProcessAffinityMask", "GetThreadContext",
    "SetThreadContext", "GetThreadPriority", "SetThreadPriority", "OpenProcess", "OutputDebugStringA",
    "RaiseException", "ReleaseSemaphore", "ResetEvent", "SetEvent", "ResumeThread", "SuspendThread",
    "RtlCaptureContext", "RtlLookupFunctionEntry", "RtlUnwindEx", "RtlVirtualUnwind", "TlsAlloc",
    "TlsGetValue", "TlsSetValue", "VirtualProtect", "VirtualQuery", "WaitForMultipleObjects",
    "WaitForSingleObject", "__C_specific_handler",
};
// clang-format on

std::map<std::string, void*, std::less<>>& StandIns() {
  static std::map<std::string, void*, std::less<>> standIns;
  return standIns;
}

const WatchedImport* FindRow(std::string_view name) {
  for (const WatchedImport& row : WatchedImports())
    if (name == row.name) return &row;
  return nullptr;
}

}  // namespace

std::span<const WatchedImport> WatchedImports() {
  static const std::vector<WatchedImport> table = MakeTable();
  return table;
}

std::span<const std::string_view> UnwatchedImports() {
  return kUnwatched;
}

void AnswerBy(std::string_view function, void* standIn) {
  StandIns()[std::string(function)] = standIn;
}

void StopAnswering() {
  StandIns().clear();
}

void WatchImportsOf(HMODULE module) {
  ForEachImport(module, [](const char* name, void** slot) {
    const WatchedImport* const row = FindRow(name);
    if (row == nullptr) return;
    const auto standIn = StandIns().find(name);
    *row->original = standIn != StandIns().end() ? standIn->second : *slot;
    WriteImport(slot, row->replacement);
  });
}

}  // namespace veskard::test
