// log_bench.exe: what a line of the log costs, as ratios to the bare calls that
// it cannot do without.
//
// Each contender runs in turns, many rounds, and counts with its median, so that a
// busy moment of the machine hits all of them. Ratios are what to compare between
// machines; the times belong to this one.
#include <windows.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "core/WindowsOwners.h"
#include "shellext/DiagnosticLog.h"
#include "shellext/Log.h"
#include "shellext/LogTime.h"
#include "tests/support/RegistrySandbox.h"
#include "tests/support/ScratchFolder.h"
#include "util/string/strfmt.h"

namespace veskard {
namespace {

struct Contender {
  const char* name;
  int repetitions;
  std::function<void()> run;
  std::vector<double> nanoseconds = {};  // of one repetition, by round
};

double Now() {
  LARGE_INTEGER ticks = {}, perSecond = {};
  ::QueryPerformanceCounter(&ticks);
  ::QueryPerformanceFrequency(&perSecond);
  return static_cast<double>(ticks.QuadPart) * 1e9 / static_cast<double>(perSecond.QuadPart);
}

double Median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

/// The last contender is compared with each of those before it.
void Compare(const char* title, int rounds, std::vector<Contender> contenders) {
  for (int round = 0; round < rounds; ++round)
    for (Contender& contender : contenders) {
      const double start = Now();
      for (int i = 0; i < contender.repetitions; ++i) contender.run();
      contender.nanoseconds.push_back((Now() - start) / contender.repetitions);
    }
  std::printf("%s\n", title);
  const double own = Median(contenders.back().nanoseconds);
  for (const Contender& contender : contenders) {
    const double median = Median(contender.nanoseconds);
    std::printf("  %-44s %10.1f ns", contender.name, median);
    if (&contender != &contenders.back()) std::printf("   the log takes %.2fx", own / median);
    std::printf("\n");
  }
}

// Off: loops inside, because a single call is too short to be timed.
constexpr int kCalls = 1'000'000;
std::atomic<bool> bareFlag = false;
volatile int bareLines = 0;

void BareTests() {
  for (int i = 0; i < kCalls; ++i)
    if (bareFlag.load(std::memory_order_relaxed)) bareLines = i;
}

void CallsWhileOff() {
  for (int i = 0; i < kCalls; ++i) Log(L"Selective Sync: inSyncFolder(%d)", i);
}

void CompareOff() {
  Compare("The log off, a million calls", 51,
          {{"a test and a branch", 1, &BareTests}, {"Log", 1, &CallsWhileOff}});
}

/// One file, opened as the log opens its own.
class BareFile {
 public:
  explicit BareFile(const std::wstring& path)
      : file_(::CreateFileW(path.c_str(), GENERIC_WRITE,
                            FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_ALWAYS,
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
  const BareFile bare(folder + L"\\bare.log");
  const std::wstring ready = FormatLine();
  Compare("The log on, one line", 31,
          {{"one write and one flush", 200, [&] { bare.Write(ready); }},
           {"one format, one write and one flush", 200, [&] { bare.Write(FormatLine()); }},
           {"Log", 200, [] { Log(L"Selective Sync: inSyncFolder(%d)", 1); }}});
}

void Run() {
  const test::RegistrySandbox registry;
  const test::ScratchFolder applicationData;
  const std::wstring folder = applicationData / L"Nimbrel Veskard Agent";
  ::CreateDirectoryW(folder.c_str(), nullptr);
  registry.SetApplicationData(applicationData.Path());

  CompareOff();
  CreateLog();
  if (!IsLogEnabled()) std::printf("the log did not open: the numbers below are worthless\n");
  CompareOn(folder);
  CloseLogAtDetach(Detach::kUnload);
}

}  // namespace
}  // namespace veskard

int main() {
  veskard::Run();
}
