// Reads pictures back that a tool has saved, with the system's own decoder.
#pragma once

#include <string>

#include "tools/shellprobe/PngFile.h"

namespace veskard::test {

/// An empty picture when the file does not exist or is not a picture.
Picture LoadPng(const std::wstring& file);

}  // namespace veskard::test
