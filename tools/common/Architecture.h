// Architecture: the processors that a program file is made for.
#pragma once

#include <string>

namespace veskard {

enum class Architecture {
  kNone,   // no program file
  k32Bit,  // x86
  k64Bit,  // x64
  kArm64,  // ARM64
  kOther,  // a program file for something else
};

/// What the file's header says; kNone when it has none, is not there or cannot be read.
Architecture ArchitectureOfFile(const std::wstring& file);

/// The same of this program.
Architecture OwnArchitecture();

/// By the number of an image header, IMAGE_FILE_MACHINE_...
Architecture ArchitectureOfMachine(unsigned machine) noexcept;

/// "32-bit", "64-bit", "ARM64"; "unknown" for the others.
const char* ArchitectureName(Architecture architecture) noexcept;

}  // namespace veskard
