// Torture: request number N of a library fails, for N = 1, 2, 3 and so on to the
// end, in everything that a host does with it. After each: the documented result,
// nothing leaked, no lock held, nothing lost on the disk, and the very next call, of
// another thread, gives the right answer.
#include <gmock/gmock.h>

#include <cstdlib>
#include <iostream>
#include <set>
#include <tuple>

#include "tests/support/LoadObserver.h"
#include "tests/support/WatchedCalls.h"
#include "tests/torture/Balance.h"
#include "tests/torture/OtherThread.h"
#include "tests/torture/Scenario.h"
#include "tools/common/ImportSlot.h"

namespace veskard::test {
namespace {

// --- The table of imports is complete ---

// clang-format off
constexpr std::string_view kUnwatched[] = {
    // Cannot fail, and cost almost nothing
    "DeleteCriticalSection", "InitializeCriticalSection", "GetCurrentProcess", "GetCurrentProcessId",
    "GetCurrentThread", "GetCurrentThreadId", "GetHandleInformation", "GetLastError", "SetLastError",
    "GetTickCount", "GetTickCount64", "IsDBCSLeadByteEx", "IsDebuggerPresent", "VerSetConditionMask",
    "WakeAllConditionVariable",
    // Ends the process on purpose
    "RaiseFailFastException",
    // Our own replacements of parts of the compiler's run-time library (core/runtime/)
    "InitOnceBeginInitialize", "InitOnceComplete",
    // The compiler's run-time library: threads, exceptions, relocation at load. Of what it
    // waits with our own code calls WaitForSingleObject too (core/runtime/ExceptionMemory.cpp),
    // once, without waiting; that is counted, but the locks of the run-time library do not
    // bear that it fails.
    "AddVectoredExceptionHandler", "RemoveVectoredExceptionHandler", "CreateSemaphoreA", "DuplicateHandle",
    "GetProcessAffinityMask", "SetProcessAffinityMask", "GetThreadContext",
    "SetThreadContext", "GetThreadPriority", "SetThreadPriority", "OpenProcess", "OutputDebugStringA",
    "RaiseException", "ReleaseSemaphore", "ResetEvent", "SetEvent", "ResumeThread", "SuspendThread",
    "RtlCaptureContext", "RtlLookupFunctionEntry", "RtlUnwindEx", "RtlVirtualUnwind", "TlsAlloc",
    "TlsGetValue", "TlsSetValue", "VirtualProtect", "VirtualQuery", "__C_specific_handler",
};
// clang-format on

TEST(ImportsTest, EveryFunctionThatALibraryImportsIsWatchedOrKnownNotToMatter) {
  std::set<std::string_view> known(std::begin(kUnwatched), std::end(kUnwatched));
  for (const KnownCall* call : KnownCalls()) EXPECT_TRUE(known.insert(call->name).second) << call->name;
  // The C run-time library's other functions work on their arguments, except those on
  // files: minizip refers to them and reads from memory here, and a program that aborts
  // writes its message through them.
  const HMODULE runtime = ::GetModuleHandleW(L"msvcrt.dll");
  const ExtensionLibrary extension;
  const ExplorerCommandLibrary explorerCommand;
  for (const HMODULE library : {extension.Module(), explorerCommand.Module()}) {
    ForEachImport(library, [&](const char* name, void**) {
      EXPECT_TRUE(known.contains(name) || ::GetProcAddress(runtime, name) != nullptr) << name;
    });
  }
}

// --- The harness ---

struct ScenarioEntry {
  const char* name;
  std::unique_ptr<Scenario> (*make)();
  size_t leastRequests[2];  // by FaultKind: fewer would mean that nothing was tortured
};
void PrintTo(const ScenarioEntry& entry, std::ostream* out) {
  *out << entry.name;
}

// clang-format off
constexpr ScenarioEntry kScenarios[] = {
    //                                      allocations, system calls
    {"RightClick",      &NewRightClick,       {40, 40}},
    {"FirstRightClick", &NewFirstRightClick,  {300, 150}},
    {"Choice",          &NewChoice,           {10, 8}},
    {"FlyOut",          &NewFlyOut,           {40, 25}},
    {"FirstFlyOut",     &NewFirstFlyOut,      {300, 60}},
    {"FlyOutChoice",    &NewFlyOutChoice,     {10, 8}},
    {"ColdIcon",        &NewColdIcon,         {20, 60}},
    {"WarmIcon",        &NewWarmIcon,         {10, 30}},
    {"LogSession",      &NewLogSession,       {10, 30}},
    {"LogRotation",     &NewLogRotation,      {10, 30}},
    {"Registration",    &NewRegistration,     {20, 20}},
    {"Unregistration",  &NewUnregistration,   {10, 9}},
    {"LanguageTable",   &NewLanguageTable,    {300, 20}},
    {"CheckFile",       &NewCheckFile,        {300, 20}},
};
// clang-format on

bool IsThorough() {
  const char* const thorough = std::getenv("VESKARD_THOROUGH");
  return thorough != nullptr && *thorough != '\0';
}

class TortureTest : public testing::TestWithParam<std::tuple<ScenarioEntry, FaultKind, FaultSpan>> {
 protected:
  TortureTest() {
    // What the library brings along stays, so that loading it again is quick.
    for (const wchar_t* name : {L"gdiplus.dll", L"shell32.dll", L"shlwapi.dll", L"mpr.dll", L"ole32.dll"})
      companions_.emplace_back(::LoadLibraryW(name));
  }
  ~TortureTest() override { StopAnswering(); }

  Struck Round(size_t number) {
    const Fault fault{.kind = std::get<FaultKind>(GetParam()),
                      .number = number,
                      .span = std::get<FaultSpan>(GetParam()),
                      .threads = Threads::kAll};
    scenario_->PrepareRound();
    {
      const ArmedFault armed(fault);
      scenario_->RunRound();
    }
    const FailedCall failed = Faults::FirstFailed();
    const Struck struck{failed.number == 0 ? std::string_view() : failed.name, fault};
    SCOPED_TRACE(testing::Message() << fault);
    scenario_->Check(struck);
    scenario_->Finish();
    return struck;
  }

  void HealthyRound() { Round(0); }

  // The next call comes from another thread, which finds no lock held.
  void HealthyRoundElsewhere() {
    other_.Run([&] { HealthyRound(); });
  }

  Struck StrikeAndGoOn(size_t number) {
    const Struck struck = Round(number);
    HealthyRoundElsewhere();
    return struck;
  }

  // Nothing may be left of it. What the system or the run-time library keeps from
  // the first time that something happens is not taken a second time.
  template <class Strike>
  static Struck Balanced(const Strike& strike) {
    constexpr int kTries = 3;
    Struck struck;
    for (int i = 1; i <= kTries; ++i) {
      const Balance before = TakeBalance();
      struck = strike();
      const Balance after = WaitForBalance(before, i == kTries ? 300 : 10);
      if (after == before) break;
      if (i == kTries) ADD_FAILURE() << struck.function << " leaves " << after << " of " << before;
    }
    return struck;
  }

  // The next request to fail; of a long scenario's a sample that grows thinner.
  size_t After(size_t number) const {
    return number + (scenario_->IsLong() && !IsThorough() ? 1 + number / 8 : 1);
  }

  size_t StrikeOneLibrary();
  size_t StrikeFreshLibraries();

  std::vector<UniqueModule> companions_;
  const LoadObserver extensionObserver_{L"VeskardShellExt.dll", &WatchImportsOf};
  const LoadObserver explorerCommandObserver_{L"VeskardExplorerCommand.dll", &WatchImportsOf};
  OtherThread other_;
  std::unique_ptr<Scenario> scenario_ = std::get<ScenarioEntry>(GetParam()).make();
};

size_t TortureTest::StrikeOneLibrary() {
  scenario_->Load();
  // What the process and its threads keep from their first time is there then.
  for (int i = 0; i < 3; ++i) {
    HealthyRound();
    HealthyRoundElsewhere();
  }
  for (size_t number = 1;; number = After(number)) {
    const Struck struck = Balanced([&] { return StrikeAndGoOn(number); });
    if (struck.Nothing()) return number - 1;
  }
}

size_t TortureTest::StrikeFreshLibraries() {
  const auto round = [this](size_t number) {
    scenario_->Load();
    const Struck struck = StrikeAndGoOn(number);
    scenario_->Unload();
    return struck;
  };
  for (int i = 0; i < 3; ++i) round(0);
  for (size_t number = 1;; number = After(number)) {
    const Struck struck = Balanced([&] { return round(number); });
    if (struck.Nothing()) return number - 1;
  }
}

TEST_P(TortureTest, AFailingRequestHarmsNothing) {
  const size_t requests = scenario_->IsOnce() ? StrikeFreshLibraries() : StrikeOneLibrary();
  EXPECT_GE(
      requests,
      std::get<ScenarioEntry>(GetParam()).leastRequests[static_cast<int>(std::get<FaultKind>(GetParam()))]);
  RecordProperty("requests", static_cast<int>(requests));
  std::cout << "  requests: " << requests << "\n";
}

std::string NameOf(const testing::TestParamInfo<TortureTest::ParamType>& info) {
  const auto [scenario, kind, span] = info.param;
  return std::string(scenario.name) + (kind == FaultKind::kAllocation ? "Memory" : "Calls") +
         (span == FaultSpan::kOnce ? "Once" : "FromThen");
}

INSTANTIATE_TEST_SUITE_P(Every, TortureTest,
                         testing::Combine(testing::ValuesIn(kScenarios),
                                          testing::Values(FaultKind::kAllocation, FaultKind::kSystemCall),
                                          testing::Values(FaultSpan::kOnce, FaultSpan::kFromThen)),
                         NameOf);

}  // namespace
}  // namespace veskard::test
