#include "tools/common/Architecture.h"

#include <windows.h>

#include "core/WindowsOwners.h"

namespace veskard {
namespace {

// Older headers of the compiler do not name it.
constexpr unsigned kArm64Machine = 0xAA64;

/// The beginning of the header that every program file has behind its DOS header.
struct ImageStart {
  DWORD signature;
  IMAGE_FILE_HEADER header;
};

bool ReadAt(HANDLE file, LONG offset, void* place, DWORD size) {
  DWORD read = 0;
  return ::SetFilePointer(file, offset, nullptr, FILE_BEGIN) != INVALID_SET_FILE_POINTER &&
         ::ReadFile(file, place, size, &read, nullptr) && read == size;
}

}  // namespace

Architecture ArchitectureOfFile(const std::wstring& file) {
  const UniqueFile opened(::CreateFileW(file.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_DELETE,
                                        nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  IMAGE_DOS_HEADER dos = {};
  ImageStart image = {};
  const bool isImage = opened && ReadAt(opened.Get(), 0, &dos, sizeof dos) &&
                       dos.e_magic == IMAGE_DOS_SIGNATURE && dos.e_lfanew > 0 &&
                       ReadAt(opened.Get(), dos.e_lfanew, &image, sizeof image) &&
                       image.signature == IMAGE_NT_SIGNATURE;
  return isImage ? ArchitectureOfMachine(image.header.Machine) : Architecture::kNone;
}

Architecture OwnArchitecture() {
  const auto* const base = reinterpret_cast<const char*>(::GetModuleHandleW(nullptr));
  const auto* const dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
  const auto* const image = reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dos->e_lfanew);
  return ArchitectureOfMachine(image->FileHeader.Machine);
}

Architecture ArchitectureOfMachine(unsigned machine) noexcept {
  switch (machine) {
    case IMAGE_FILE_MACHINE_I386:
      return Architecture::k32Bit;
    case IMAGE_FILE_MACHINE_AMD64:
      return Architecture::k64Bit;
    case kArm64Machine:
      return Architecture::kArm64;
    default:
      return Architecture::kOther;
  }
}

const char* ArchitectureName(Architecture architecture) noexcept {
  static constexpr const char* kNames[] = {"unknown", "32-bit", "64-bit", "ARM64", "unknown"};
  return kNames[static_cast<size_t>(architecture)];
}

}  // namespace veskard
