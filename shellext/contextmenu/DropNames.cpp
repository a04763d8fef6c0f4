#include "shellext/contextmenu/DropNames.h"

namespace veskard {

DropNames::DropNames(HDROP drop, uint32_t bufferSize)
    : drop_(drop), size_(bufferSize), buffer_(std::make_unique_for_overwrite<wchar_t[]>(bufferSize)) {}

std::wstring DropNames::At(uint32_t index) {
  buffer_[0] = L'\0';
  ::DragQueryFileW(drop_, index, buffer_.get(), size_);
  return buffer_.get();
}

uint32_t CountDropNames(HDROP drop) noexcept {
  constexpr UINT kCountOnly = 0xFFFFFFFF;
  return ::DragQueryFileW(drop, kCountOnly, nullptr, 0);
}

}  // namespace veskard
