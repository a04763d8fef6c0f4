#include "tests/support/GuardedBuffer.h"

#include <cstring>
#include <new>

#ifdef _WIN32
#include <windows.h>
#else
#include <sys/mman.h>
#endif

namespace veskard::test {
namespace {

constexpr size_t kPageSize = 4096;

#ifdef _WIN32

char* TakePages(size_t size) {
  return static_cast<char*>(VirtualAlloc(nullptr, size, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
}
bool Forbid(char* page) {
  DWORD before = 0;
  return VirtualProtect(page, kPageSize, PAGE_NOACCESS, &before) != 0;
}
void GiveBack(char* pages, size_t) {
  VirtualFree(pages, 0, MEM_RELEASE);
}

#else

char* TakePages(size_t size) {
  void* const pages = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  return pages == MAP_FAILED ? nullptr : static_cast<char*>(pages);
}
bool Forbid(char* page) {
  return mprotect(page, kPageSize, PROT_NONE) == 0;
}
void GiveBack(char* pages, size_t size) {
  munmap(pages, size);
}

#endif

}  // namespace

GuardedBuffer::GuardedBuffer(std::string_view bytes, Guard guard) : size_(bytes.size()) {
  const size_t inner = (bytes.size() + kPageSize - 1) / kPageSize * kPageSize;
  pagesSize_ = inner + 2 * kPageSize;
  pages_ = TakePages(pagesSize_);
  if (pages_ == nullptr || !Forbid(pages_) || !Forbid(pages_ + kPageSize + inner)) throw std::bad_alloc();
  begin_ = pages_ + kPageSize + (guard == Guard::kBehind ? inner - bytes.size() : 0);
  if (!bytes.empty()) std::memcpy(begin_, bytes.data(), bytes.size());
}

GuardedBuffer::~GuardedBuffer() {
  GiveBack(pages_, pagesSize_);
}

}  // namespace veskard::test
