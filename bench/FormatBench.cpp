#include <fmt/format.h>
#include <fmt/xchar.h>

#include <cstdint>
#include <cstdio>
#include <cwchar>

#include "bench/Benches.h"
#include "bench/Measure.h"
#include "util/string/strfmt.h"

namespace veskard::bench {
namespace {

constexpr size_t kSize = 512;
char buffer[kSize];
wchar_t wideBuffer[kSize];

const char* const kStamp = "2026-11-15 23:04:05.000";
const char* const kTag = "explorer.exe:4412";
const char* const kMessage = "Called context menu for 3 items below C:\\Users\\Ann\\Documents\\Shared";
const wchar_t* const kWideStamp = L"2026-11-15 23:04:05.000";
const wchar_t* const kWideTag = L"explorer.exe:4412";
const wchar_t* const kWideMessage =
    L"Called context menu for 3 items below C:\\Users\\Ann\\Documents\\Shared";
const char* const kFolder = "C:\\Users\\Ann\\Documents\\Shared\\Pictures\\2026";
const char* const kName = "mountain lake at dusk.jpg.ghpl";

// The values differ from run to run: nothing is computed ahead.
int Next() {
  static unsigned number = 12345;
  number = number * 1664525u + 1013904223u;
  return static_cast<int>(number);
}

void BenchLogLine() {
  PrintRatios("log line of three strings",
              {[] { Keep(FormatBuffer(buffer, kSize, "%s (%s) %s", kStamp, kTag, kMessage)); },
               [] { Keep(std::snprintf(buffer, kSize, "%s (%s) %s", kStamp, kTag, kMessage)); },
               [] { Keep(fmt::format_to_n(buffer, kSize, "{} ({}) {}", kStamp, kTag, kMessage)); }});
  PrintRatios(
      "the same, wide (`swprintf`)",
      {[] { Keep(FormatBuffer(wideBuffer, kSize, L"%s (%s) %s", kWideStamp, kWideTag, kWideMessage)); },
       [] { Keep(std::swprintf(wideBuffer, kSize, L"%ls (%ls) %ls", kWideStamp, kWideTag, kWideMessage)); },
       [] { Keep(fmt::format_to_n(wideBuffer, kSize, L"{} ({}) {}", kWideStamp, kWideTag, kWideMessage)); }});
}

void BenchPathJoin() {
  PrintRatios("path join", {[] { Keep(FormatBuffer(buffer, kSize, "%s\\%s", kFolder, kName)); },
                            [] { Keep(std::snprintf(buffer, kSize, "%s\\%s", kFolder, kName)); },
                            [] { Keep(fmt::format_to_n(buffer, kSize, "{}\\{}", kFolder, kName)); }});
}

void BenchInteger() {
  PrintRatios("integer", {[] { Keep(FormatBuffer(buffer, kSize, "%d", Next())); },
                          [] { Keep(std::snprintf(buffer, kSize, "%d", Next())); },
                          [] { Keep(fmt::format_to_n(buffer, kSize, "{}", Next())); }});
  PrintRatios("integer in a field, in hexadecimal",
              {[] { Keep(FormatBuffer(buffer, kSize, "%08X", Next())); },
               [] { Keep(std::snprintf(buffer, kSize, "%08X", static_cast<unsigned>(Next()))); },
               [] { Keep(fmt::format_to_n(buffer, kSize, "{:08X}", static_cast<unsigned>(Next()))); }});
}

// Neither peer has a conversion for it: five words each.
void BenchHash() {
  static uint32_t words[5] = {0x8af594cc, 0x05ae6472, 0xcc92b211, 0x00000001, 0xffffffff};
  const auto change = [] { words[0] = static_cast<uint32_t>(Next()); };
  PrintRatios("hash of 20 bytes", {[change] {
                                     change();
                                     Keep(FormatBuffer(buffer, kSize, "%h", static_cast<const void*>(words)));
                                   },
                                   [change] {
                                     change();
                                     Keep(std::snprintf(buffer, kSize, "%08x%08x%08x%08x%08x", words[0],
                                                        words[1], words[2], words[3], words[4]));
                                   },
                                   [change] {
                                     change();
                                     Keep(fmt::format_to_n(buffer, kSize, "{:08x}{:08x}{:08x}{:08x}{:08x}",
                                                           words[0], words[1], words[2], words[3], words[4]));
                                   }});
}

}  // namespace

void RunFormatBenches() {
  PrintHeading("Formatting into a buffer", "Text", {"`snprintf`", "{fmt}"});
  BenchLogLine();
  BenchPathJoin();
  BenchInteger();
  BenchHash();
}

}  // namespace veskard::bench
