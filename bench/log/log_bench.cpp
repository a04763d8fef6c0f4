// log_bench.exe: what a line of the log costs, as ratios to the baseline calls that
// it cannot do without.
//
// Ratios are what to compare between machines; the times belong to this one.
#include <windows.h>

#include <atomic>
#include <cstdio>
#include <string>

#include "bench/windows/Measure.h"
#include "core/WindowsOwners.h"
#include "fs/util/OpenMode.h"
#include "shellext/module/Clock.h"
#include "shellext/module/DiagnosticLog.h"
#include "shellext/module/Log.h"
#include "tests/support/RegistrySandbox.h"
#include "tests/support/ScratchFolder.h"
#include "util/string/strfmt.h"

namespace veskard {
namespace {

// Off: loops inside, because a single call is too short to be timed.
constexpr int kCalls = 1'000'000;
std::atomic<bool> baselineFlag = false;
volatile int baselineLines = 0;

void BaselineTests() {
  for (int i = 0; i < kCalls; ++i)
    if (baselineFlag.load(std::memory_order_relaxed)) baselineLines = i;
}

void CallsWhileOff() {
  for (int i = 0; i < kCalls; ++i) Log(L"Selective Sync: inSyncFolder(%d)", i);
}

void CompareOff() {
  bench::Compare(
      "off, a million calls: a test and a branch", 0, {.count = 51}, [](int) { CallsWhileOff(); },
      [](int) { BaselineTests(); });
}

/// One file, opened as the log opens its own.
class BaselineFile {
 public:
  explicit BaselineFile(const std::wstring& path)
      : file_(::CreateFileW(path.c_str(), GENERIC_WRITE, kShareEverything, nullptr, OPEN_ALWAYS,
                            FILE_ATTRIBUTE_NORMAL, nullptr)) {}

  void Write(const std::wstring& line) const {
    OVERLAPPED atEnd = {};
    atEnd.Offset = atEnd.OffsetHigh = MAXDWORD;
    DWORD written = 0;
    ::WriteFile(file_.Get(), line.data(), static_cast<DWORD>(line.size() * sizeof(wchar_t)), &written,
                &atEnd);
    ::FlushFileBuffers(file_.Get());
  }

 private:
  UniqueFile file_;
};

std::wstring FormatLine() {
  return FormatString(L"%S (%s) %s\r\n", LogTimestamp(SecondsSince1970()), L"log_bench.exe:1234",
                      FormatString(L"Selective Sync: inSyncFolder(%d)", 1));
}

void CompareOn(const std::wstring& folder) {
  const BaselineFile baseline(folder + L"\\baseline.log");
  const std::wstring ready = FormatLine();
  const auto times =
      bench::TakeTurns({.count = 31, .repetitions = 200},
                       {[](int) { Log(L"Selective Sync: inSyncFolder(%d)", 1); },
                        [&](int) { baseline.Write(ready); }, [&](int) { baseline.Write(FormatLine()); }});
  bench::PrintRow("on, one line: one write and one flush", 0, times[0], times[1]);
  bench::PrintRow("on, one line: one format, one write and one flush", 0, times[0], times[2]);
}

void Run() {
  const test::RegistrySandbox registry;
  const test::ScratchFolder applicationData;
  const std::wstring folder = applicationData / L"Nimbrel Veskard Agent";
  ::CreateDirectoryW(folder.c_str(), nullptr);
  registry.SetApplicationData(applicationData.Path());

  bench::PrintHeading("The log");
  CompareOff();
  CreateLog();
  if (!IsLogEnabled()) std::printf("the log did not open: the figures below mean nothing\n");
  CompareOn(folder);
  CloseLogAtDetach(Detach::kUnload);
}

}  // namespace
}  // namespace veskard

int main() {
  veskard::Run();
}
