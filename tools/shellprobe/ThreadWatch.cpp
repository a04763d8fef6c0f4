#include "tools/shellprobe/ThreadWatch.h"

#include <tlhelp32.h>

#include <algorithm>

#include "core/WindowsOwners.h"

namespace veskard {
namespace {

std::set<DWORD> OwnThreads() {
  std::set<DWORD> threads;
  const UniqueFile snapshot(::CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0));
  THREADENTRY32 entry = {};
  entry.dwSize = sizeof entry;
  for (BOOL more = ::Thread32First(snapshot.Get(), &entry); more;
       more = ::Thread32Next(snapshot.Get(), &entry)) {
    if (entry.th32OwnerProcessID == ::GetCurrentProcessId()) threads.insert(entry.th32ThreadID);
  }
  return threads;
}

}  // namespace

ThreadWatch::ThreadWatch() : known_(OwnThreads()) {}

bool ThreadWatch::WaitForNewThreads(std::chrono::milliseconds limit) const {
  const ULONGLONG end = ::GetTickCount64() + static_cast<ULONGLONG>(limit.count());
  for (const DWORD id : OwnThreads()) {
    if (known_.contains(id)) continue;
    // A thread that cannot be opened has ended in the meantime.
    const UniqueHandle thread(::OpenThread(SYNCHRONIZE, FALSE, id));
    const ULONGLONG now = ::GetTickCount64();
    const auto left = static_cast<DWORD>(end > now ? end - now : 0);
    if (thread && ::WaitForSingleObject(thread.Get(), left) != WAIT_OBJECT_0) return false;
  }
  return true;
}

}  // namespace veskard
