#include "tests/support/KnownCalls.h"

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
#include <type_traits>

#include "core/GdiplusOwners.h"

namespace veskard::test {
namespace {

// --- One function ---

/// A function's name as a template's argument, without the scope that it stands in.
template <size_t kSize>
struct FunctionName {
  constexpr FunctionName(const char (&name)[kSize]) {
    const char* const end = name + kSize;
    const char* begin = end;
    while (begin != name && begin[-1] != ':') --begin;
    std::copy(begin, end, text);
  }
  char text[kSize] = {};
};

template <class Answer>
intptr_t ToNumber(Answer answer) noexcept {
  if constexpr (std::is_pointer_v<Answer>) {
    return reinterpret_cast<intptr_t>(answer);
  } else {
    return static_cast<intptr_t>(answer);
  }
}

template <class Answer>
Answer FromNumber(intptr_t number) noexcept {
  if constexpr (std::is_pointer_v<Answer>) {
    return reinterpret_cast<Answer>(number);
  } else {
    return static_cast<Answer>(number);
  }
}

/// Stands in front of one function.
template <FunctionName kName, class Function>
struct Replaced;

template <FunctionName kName, class Answer_, class... Args>
struct Replaced<kName, Answer_(WINAPI*)(Args...)> {
  using Answer = Answer_;

  static Answer WINAPI Answering(Args... args) {
    [[maybe_unused]] const bool mustFail = row.MustFail();
    const auto target = reinterpret_cast<Answer(WINAPI*)(Args...)>(row.Target());
    if constexpr (std::is_void_v<Answer>) {
      row.Take();
      target(args...);
    } else {
      if (mustFail) return FromNumber<Answer>(row.Failure());
      const Answer answer = target(args...);
      if (row.HasSucceeded(ToNumber(answer))) row.Take();
      return answer;
    }
  }

  static constinit inline KnownCall row{kName.text};
};

/// `failure` is what the function answers when it fails, `error` what it leaves as
/// the thread's last error; a call that succeeds takes one of `held`.
template <class Call, class Failure>
KnownCall* Fails(Failure failure, DWORD error, Held held = Held::kNothing) {
  KnownCall& row = Call::row;
  row.replacement = reinterpret_cast<void*>(&Call::Answering);
  row.canFail = true;
  row.failure = ToNumber(static_cast<typename Call::Answer>(failure));
  row.error = error;
  row.held = held;
  row.change = 1;
  return &row;
}

/// The answer is the error itself, and 0 when there is none.
template <class Call>
KnownCall* AnswersError(DWORD error, Held held = Held::kNothing) {
  KnownCall* const row = Fails<Call>(error, error, held);
  row->isSuccessZero = row->isErrorAnswer = true;
  return row;
}

/// A function of GDI+; 0 is its success too.
template <class Call>
KnownCall* Draws(Held held = Held::kNothing) {
  KnownCall* const row = Fails<Call>(Gdiplus::OutOfMemory, ERROR_NO_SYSTEM_RESOURCES, held);
  row->isSuccessZero = true;
  return row;
}

/// Never fails here, and changes the balance: +1 takes, -1 gives back.
template <class Call>
KnownCall* Counts(Held held = Held::kNothing, ptrdiff_t change = 0) {
  KnownCall& row = Call::row;
  row.replacement = reinterpret_cast<void*>(&Call::Answering);
  row.held = held;
  row.change = change;
  return &row;
}

template <class Call>
KnownCall* Frees() {
  KnownCall* const row = Counts<Call>(Held::kGdiplusObject, -1);
  row->isSuccessZero = true;
  return row;
}

// --- The functions whose effect depends on more than their answer ---

template <class Function>
KnownCall ByHand(const char* name, Function* replacement, bool canFail = false, DWORD error = ERROR_SUCCESS) {
  return {
      .name = name, .replacement = reinterpret_cast<void*>(replacement), .canFail = canFail, .error = error};
}

void* __cdecl Malloc(size_t size);
void* __cdecl Calloc(size_t count, size_t size);
void* __cdecl Realloc(void* old, size_t size);
void __cdecl Free(void* block);
void* WINAPI AllocTaskMemory(SIZE_T size);
BOOL WINAPI GetModuleHandleEx(DWORD flags, const wchar_t* name, HMODULE* module);
FARPROC WINAPI GetProcedureAddress(HMODULE module, const char* name);
void WINAPI FreeModuleAndExitThread(HMODULE module, DWORD exitCode);
HLOCAL WINAPI FreeLocalMemory(HLOCAL memory);

KnownCall mallocRow = ByHand("malloc", &Malloc);
KnownCall callocRow = ByHand("calloc", &Calloc);
KnownCall reallocRow = ByHand("realloc", &Realloc);
KnownCall freeRow = ByHand("free", &Free);
KnownCall coTaskMemAllocRow = ByHand("CoTaskMemAlloc", &AllocTaskMemory);
KnownCall getModuleHandleExRow =
    ByHand("GetModuleHandleExW", &GetModuleHandleEx, true, ERROR_NO_SYSTEM_RESOURCES);
KnownCall getProcAddressRow = ByHand("GetProcAddress", &GetProcedureAddress, true, ERROR_PROC_NOT_FOUND);
KnownCall freeLibraryAndExitRow = ByHand("FreeLibraryAndExitThread", &FreeModuleAndExitThread);
KnownCall localFreeRow = ByHand("LocalFree", &FreeLocalMemory);

// Calls the function itself, which has the type of its replacement.
template <class Function, class... Args>
auto CallTarget(const KnownCall& row, Function*, Args... args) {
  return reinterpret_cast<Function*>(row.Target())(args...);
}

void* Taken(void* block) noexcept {
  if (block != nullptr) Faults::Take(Held::kBlock, 1);
  return block;
}

bool IsOutOfMemory(KnownCall& row) noexcept {
  row.Count();
  if (!Faults::Strikes(FaultKind::kAllocation, row.name)) return false;
  errno = ENOMEM;
  return true;
}

void* __cdecl Malloc(size_t size) {
  return IsOutOfMemory(mallocRow) ? nullptr : Taken(CallTarget(mallocRow, &Malloc, size));
}

void* __cdecl Calloc(size_t count, size_t size) {
  return IsOutOfMemory(callocRow) ? nullptr : Taken(CallTarget(callocRow, &Calloc, count, size));
}

void* __cdecl Realloc(void* old, size_t size) {
  if (IsOutOfMemory(reallocRow)) return nullptr;
  void* const block = CallTarget(reallocRow, &Realloc, old, size);
  return old == nullptr ? Taken(block) : block;
}

void __cdecl Free(void* block) {
  freeRow.Count();
  if (block != nullptr) Faults::Take(Held::kBlock, -1);
  CallTarget(freeRow, &Free, block);
}

void* WINAPI AllocTaskMemory(SIZE_T size) {
  if (IsOutOfMemory(coTaskMemAllocRow)) return nullptr;
  void* const block = CallTarget(coTaskMemAllocRow, &AllocTaskMemory, size);
  if (block != nullptr) Faults::Take(Held::kTaskBlock, 1);
  return block;
}

BOOL WINAPI GetModuleHandleEx(DWORD flags, const wchar_t* name, HMODULE* module) {
  if (getModuleHandleExRow.MustFail()) return FALSE;
  const BOOL found = CallTarget(getModuleHandleExRow, &GetModuleHandleEx, flags, name, module);
  if (found && (flags & GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT) == 0) Faults::Take(Held::kModule, 1);
  return found;
}

// Functions resolved while watched are watched too, like the imported ones.
FARPROC WINAPI GetProcedureAddress(HMODULE module, const char* name) {
  if (getProcAddressRow.MustFail()) return nullptr;
  const FARPROC found = CallTarget(getProcAddressRow, &GetProcedureAddress, module, name);
  KnownCall* const call = found != nullptr && !IS_INTRESOURCE(name) ? FindKnownCall(name) : nullptr;
  if (call == nullptr) return found;
  call->original = reinterpret_cast<void*>(found);
  return reinterpret_cast<FARPROC>(call->replacement);
}

void WINAPI FreeModuleAndExitThread(HMODULE module, DWORD exitCode) {
  Faults::Take(Held::kModule, -1);
  Faults::Take(Held::kSender, -1);
  CallTarget(freeLibraryAndExitRow, &FreeModuleAndExitThread, module, exitCode);
}

HLOCAL WINAPI FreeLocalMemory(HLOCAL memory) {
  localFreeRow.Count();
  if (memory != nullptr) Faults::Take(Held::kLocalMemory, -1);
  return CallTarget(localFreeRow, &FreeLocalMemory, memory);
}

// --- The table ---

constexpr DWORD kNoResources = ERROR_NO_SYSTEM_RESOURCES;

// clang-format off
#define VESKARD_CALL(name) Replaced<#name, decltype(&::name)>
#define FAILS(name, ...)  Fails<VESKARD_CALL(name)>(__VA_ARGS__)
#define ERRORS(name, ...) AnswersError<VESKARD_CALL(name)>(__VA_ARGS__)
#define TAKES(name, held) Counts<VESKARD_CALL(name)>(held, 1)
#define GIVES(name, held) Counts<VESKARD_CALL(name)>(held, -1)
#define COUNTS(name)      Counts<VESKARD_CALL(name)>()
#define DRAWS(name)       Draws<VESKARD_CALL(Gdiplus::DllExports::name)>()
#define MAKES(name)       Draws<VESKARD_CALL(Gdiplus::DllExports::name)>(Held::kGdiplusObject)
#define FREES(name)       Frees<VESKARD_CALL(Gdiplus::DllExports::name)>()

KnownCall* const kTable[] = {
    // The C heap
    &mallocRow, &callocRow, &reallocRow, &freeRow,
    // COM's task memory
    &coTaskMemAllocRow, GIVES(CoTaskMemFree, Held::kTaskBlock),
    // Registry
    ERRORS(RegOpenKeyExW,                ERROR_ACCESS_DENIED),
    ERRORS(RegCreateKeyExW,              ERROR_ACCESS_DENIED),
    ERRORS(RegQueryValueExW,             ERROR_NO_SYSTEM_RESOURCES),
    ERRORS(RegSetValueExW,               ERROR_NO_SYSTEM_RESOURCES),
    ERRORS(RegDeleteKeyW,                ERROR_ACCESS_DENIED),

    // Security
    FAILS(ConvertSecurityDescriptorToStringSecurityDescriptorW, FALSE, ERROR_NOT_ENOUGH_MEMORY,
          Held::kLocalMemory),
    FAILS(ConvertStringSecurityDescriptorToSecurityDescriptorW, FALSE, ERROR_NOT_ENOUGH_MEMORY,
          Held::kLocalMemory),
    FAILS(ConvertSidToStringSidW,       FALSE, ERROR_NOT_ENOUGH_MEMORY, Held::kLocalMemory),
    FAILS(ConvertStringSidToSidW,       FALSE, ERROR_NOT_ENOUGH_MEMORY, Held::kLocalMemory),
    FAILS(EqualSid,                     FALSE, ERROR_SUCCESS),
    FAILS(DeleteAce,                    FALSE, ERROR_INVALID_ACL),
    FAILS(GetAce,                       FALSE, ERROR_INVALID_ACL),
    ERRORS(GetNamedSecurityInfoW,       ERROR_ACCESS_DENIED, Held::kLocalMemory),
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
    FAILS(GetSystemDirectoryW,          0u, ERROR_NOT_ENOUGH_MEMORY),
    FAILS(LoadLibraryA,                 nullptr, ERROR_NOT_ENOUGH_MEMORY, Held::kModule),
    FAILS(LoadLibraryW,                 nullptr, ERROR_NOT_ENOUGH_MEMORY, Held::kModule),
    FAILS(LoadLibraryExW,               nullptr, ERROR_NOT_ENOUGH_MEMORY, Held::kModule),
    GIVES(FreeLibrary,                  Held::kModule),
    &getProcAddressRow,
    &getModuleHandleExRow,
    &freeLibraryAndExitRow,
    FAILS(FindResourceW,                nullptr, ERROR_RESOURCE_NAME_NOT_FOUND),
    FAILS(LoadResource,                 nullptr, ERROR_NOT_ENOUGH_MEMORY),
    FAILS(LockResource,                 nullptr, ERROR_SUCCESS),
    FAILS(SizeofResource,               DWORD{0}, ERROR_RESOURCE_NAME_NOT_FOUND),
    FAILS(VerifyVersionInfoW,           FALSE, ERROR_OLD_WIN_VERSION),

    // Texts and times. The run-time library alone calls FormatMessageA, and has it take
    // the memory; a list of arguments is no type for a template, but a pointer is.
    Fails<Replaced<"FormatMessageA", DWORD(WINAPI*)(DWORD, const void*, DWORD, DWORD, char*, DWORD, void*)>>(
        DWORD{0}, ERROR_MR_MID_NOT_FOUND, Held::kLocalMemory),
    &localFreeRow,
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
    FAILS(GlobalLock,                   nullptr, ERROR_DISCARDED, Held::kLockedBlock),
    FAILS(GlobalSize,                   SIZE_T{0}, ERROR_INVALID_HANDLE),
    GIVES(GlobalUnlock,                 Held::kLockedBlock),
    FAILS(DuplicateIcon,                nullptr, kNoResources),
    FAILS(SHGetFileInfoW,               DWORD_PTR{0}, ERROR_NOT_ENOUGH_MEMORY),
    FAILS(SHGetImageList,               E_OUTOFMEMORY, ERROR_SUCCESS),
    FAILS(SHGetStockIconInfo,           E_OUTOFMEMORY, ERROR_SUCCESS),
    FAILS(SHGetSpecialFolderPathW,      FALSE, ERROR_FILE_NOT_FOUND),
    FAILS(GetDriveTypeW,                DRIVE_UNKNOWN, ERROR_SUCCESS),
    ERRORS(WNetGetUniversalNameW,       ERROR_NOT_ENOUGH_MEMORY),

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
    FAILS(GetDIBits,                    0, ERROR_NOT_ENOUGH_MEMORY),
    FAILS(SelectObject,                 nullptr, ERROR_INVALID_HANDLE),
    FAILS(PatBlt,                       FALSE, ERROR_NOT_ENOUGH_MEMORY),

    // GDI+
    Draws<VESKARD_CALL(Gdiplus::GdiplusStartup)>(Held::kGdiplus),
    GIVES(Gdiplus::GdiplusShutdown, Held::kGdiplus),
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

    // Give back what is counted in the process's own tables, or in the selection
    COUNTS(CloseHandle), COUNTS(RegCloseKey), COUNTS(DeleteObject), COUNTS(DeleteDC), COUNTS(ReleaseDC),
    COUNTS(DestroyIcon), COUNTS(ReleaseStgMedium),
    // Cannot fail, or their failure means no more than "no"
    COUNTS(GetACP), COUNTS(GetSystemTimeAsFileTime), COUNTS(PathFindExtensionW), COUNTS(SHChangeNotify),
    COUNTS(lstrcpynA), COUNTS(lstrcpynW),
    // Wait
    COUNTS(Sleep), COUNTS(SleepConditionVariableCS), COUNTS(WaitForSingleObject),
    COUNTS(WaitForMultipleObjects),
};
#undef VESKARD_CALL
#undef FAILS
#undef ERRORS
#undef TAKES
#undef GIVES
#undef COUNTS
#undef DRAWS
#undef MAKES
#undef FREES
// clang-format on

std::atomic<DWORD> ownThread = 0;

}  // namespace

void KnownCall::Count() noexcept {
  ++calls;
  if (ownThread == ::GetCurrentThreadId()) ++ownCalls;
}

bool KnownCall::MustFail() noexcept {
  Count();
  if (!canFail || !Faults::Strikes(FaultKind::kSystemCall, name, Error())) return false;
  ::SetLastError(Error());
  return true;
}

bool KnownCall::HasSucceeded(intptr_t answer) const noexcept {
  if (isSuccessZero) return answer == 0;
  return !canFail || answer != failure;
}

std::span<KnownCall* const> KnownCalls() {
  return kTable;
}

KnownCall* FindKnownCall(std::string_view name) {
  const auto found =
      std::ranges::find_if(kTable, [name](const KnownCall* call) { return name == call->name; });
  return found != std::end(kTable) ? *found : nullptr;
}

void SetOwnThread(DWORD thread) noexcept {
  ownThread = thread;
}

}  // namespace veskard::test
