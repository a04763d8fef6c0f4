#include "tests/support/PageWatch.h"

#include <windows.h>

#include <cstring>
#include <new>
#include <utility>

namespace veskard::test {
namespace {

constexpr size_t kPageSize = 4096;

struct Watched {
  const char* begin = nullptr;
  size_t size = 0;
  char* open[2] = {};  // the last page and the one before
  size_t arrivals = 0;
};
Watched watched;

void Protect(char* page, DWORD protection) noexcept {
  DWORD before = 0;
  ::VirtualProtect(page, kPageSize, protection, &before);
}

bool IsWatched(ULONG_PTR address) noexcept {
  return address - reinterpret_cast<ULONG_PTR>(watched.begin) < watched.size;
}

LONG CALLBACK OpenPage(EXCEPTION_POINTERS* exception) {
  const EXCEPTION_RECORD& record = *exception->ExceptionRecord;
  if (record.ExceptionCode != EXCEPTION_ACCESS_VIOLATION || !IsWatched(record.ExceptionInformation[1]))
    return EXCEPTION_CONTINUE_SEARCH;
  char* const page = reinterpret_cast<char*>(record.ExceptionInformation[1] & ~(ULONG_PTR{kPageSize} - 1));
  if (watched.open[1] != nullptr) Protect(watched.open[1], PAGE_NOACCESS);
  watched.open[1] = std::exchange(watched.open[0], page);
  Protect(page, PAGE_READONLY);
  ++watched.arrivals;
  return EXCEPTION_CONTINUE_EXECUTION;
}

}  // namespace

PageWatch::PageWatch(std::string_view bytes)
    : pages_(static_cast<char*>(
          ::VirtualAlloc(nullptr, bytes.size() + 1, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE))),
      size_(bytes.size()) {
  if (pages_ == nullptr) throw std::bad_alloc();
  std::memcpy(pages_, bytes.data(), bytes.size());
  DWORD before = 0;
  ::VirtualProtect(pages_, bytes.size() + 1, PAGE_NOACCESS, &before);
  watched = {pages_, size_};
  handler_ = ::AddVectoredExceptionHandler(TRUE, &OpenPage);
}

PageWatch::~PageWatch() {
  ::RemoveVectoredExceptionHandler(handler_);
  watched = {};
  ::VirtualFree(pages_, 0, MEM_RELEASE);
}

size_t PageWatch::Arrivals() const noexcept {
  return watched.arrivals;
}

}  // namespace veskard::test
