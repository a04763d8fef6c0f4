// format_instructions, under callgrind: the instructions of the texts of the formatting
// benchmark, of a thousand runs each.
#include <cstddef>
#include <cstdint>

#include "bench/Measure.h"
#include "bench/instructions/Counted.h"
#include "util/string/strfmt.h"

namespace veskard::bench {
namespace {

constexpr int kTimes = 1000;
constexpr size_t kSize = 512;

template <class Char, class... Args>
void Count(const char* name, const Char* format, const Args&... args) {
  Counted(name, [&] {
    Char buffer[kSize];
    for (int i = 0; i < kTimes; ++i) Keep(FormatBuffer(buffer, kSize, format, args...));
  });
}

void CountAll() {
  const uint8_t hash[20] = {};
  Count("log line of three strings", "%s (%s) %s", "2026-11-15 23:04:05.000", "explorer.exe:4412",
        "Called context menu for 3 items below C:\\Users\\Ann\\Documents\\Shared");
  Count("log line, wide", L"%s (%s) %s", L"2026-11-15 23:04:05.000", L"explorer.exe:4412",
        L"Called context menu for 3 items below C:\\Users\\Ann\\Documents\\Shared");
  Count("path join", "%s\\%s", "C:\\Users\\Ann\\Documents\\Shared\\Pictures\\2026",
        "mountain lake at dusk.jpg.ghpl");
  Count("integer", "%d", -1234567890);
  Count("integer in a field, in hexadecimal", "%08X", 0x1234ABCD);
  Count("hash of 20 bytes", "%h", static_cast<const void*>(hash));
}

}  // namespace
}  // namespace veskard::bench

int main() {
  veskard::bench::CountAll();
}
