// The two functions of ntdll that have no import library: resolved by name.
#pragma once

#include <windows.h>
#include <winternl.h>

namespace veskard {

/// The last argument is the information class.
using NtQueryInformationFileFunction = NTSTATUS(NTAPI*)(HANDLE file, IO_STATUS_BLOCK* status, void* answer,
                                                        ULONG answerSize, ULONG informationClass);
using RtlTimeToSecondsSince1970Function = BOOLEAN(NTAPI*)(LARGE_INTEGER* time, ULONG* seconds);

inline constexpr ULONG kFileStandardInformation = 5;
inline constexpr ULONG kFileStreamInformation = 22;
inline constexpr NTSTATUS kStatusBufferOverflow = static_cast<NTSTATUS>(0x80000005);

/// Null when the system has no such function.
NtQueryInformationFileFunction ResolveNtQueryInformationFile() noexcept;
RtlTimeToSecondsSince1970Function ResolveRtlTimeToSecondsSince1970() noexcept;

struct NtFunctions {
  NtQueryInformationFileFunction queryInformationFile = ResolveNtQueryInformationFile();
  RtlTimeToSecondsSince1970Function timeToSecondsSince1970 = ResolveRtlTimeToSecondsSince1970();
};

/// The process's functions, resolved by the first call, whatever thread makes it.
/// Tests put answers of their own here; nothing else writes to it.
NtFunctions& Nt() noexcept;

}  // namespace veskard
