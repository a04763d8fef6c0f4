// How long a right-click and a choice hold the caller, by the state of the agent: the
// built library, medians of calls taken in turns, as ratios to an agent that reads at
// once. Where the agent is stuck, all senders before wait for it meanwhile.
#include <windows.h>

#include <memory>
#include <string>
#include <vector>

#include "bench/windows/Measure.h"
#include "tests/shellext/contextmenu/LibraryMenu.h"
#include "tools/standin_agent/AgentEndpoint.h"
#include "tools/standin_agent/StandinAgent.h"

namespace veskard {
namespace {

using test::FakeDataObject;
using test::MenuHandler;

constexpr int kRounds = 15;
constexpr int kCalls = 20;  // of each kind, for each state and round
constexpr int kItems = 100;
constexpr double kAim = 1.10;
constexpr DWORD kBreak = 2;  // milliseconds, for the sender to be done or to be stuck

template <class Call>
double MicrosecondsOf(const Call& call) {
  const double begin = bench::MicrosecondsNow();
  call();
  return bench::MicrosecondsNow() - begin;
}

/// A pipe whose only instance is taken by another client.
struct BusyPipe {
  UniqueHandle mutex{::CreateMutexW(nullptr, FALSE, kServiceEndpoint.mutex)};
  UniqueFile pipe{::CreateNamedPipeW(kServiceEndpoint.pipe, PIPE_ACCESS_INBOUND, PIPE_TYPE_MESSAGE, 1, 4096,
                                     4096, 0, nullptr)};
  UniqueFile client{
      ::CreateFileW(kServiceEndpoint.pipe, GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr)};
};

std::shared_ptr<void> Serve(const AgentFaults& faults) {
  return std::make_shared<StandinAgent>(StandinAgent::Options{.faults = faults});
}

struct AgentState {
  const char* name;
  std::shared_ptr<void> (*begin)();  // until the pointer is gone
  std::vector<double> queries = {};
  std::vector<double> choices = {};
};

// clang-format off
std::vector<AgentState> AllStates() {
  return {
      {"reads at once",         [] { return Serve({}); }},
      {"never reads",           [] { return Serve({.neverReads = true}); }},
      {"is busy with others",   []() -> std::shared_ptr<void> { return std::make_shared<BusyPipe>(); }},
      {"has lost its pipe",     [] { return Serve({.withoutPipe = true}); }},
  };
}
// clang-format on

class AgentBench {
 public:
  AgentBench() {
    registry_.SetApplicationData(applicationData_.Path());
    test::SetLogSwitch(0);
    tree_.MarkRoot(L"root", test::kSelective);
    for (int i = 0; i < kItems; ++i)
      items_.push_back(tree_.MakeFile(L"root\\" + std::to_wstring(i) + L".txt"));
  }

  void Measure(AgentState& state) const {
    const std::shared_ptr<void> agent = state.begin();
    const MenuHandler handler(library_);
    FakeDataObject selection(items_);
    handler.Select(&selection);
    for (int i = 0; i < kCalls; ++i) {
      const UniqueMenu menu(::CreatePopupMenu());
      state.queries.push_back(MicrosecondsOf([&] { handler.Query(menu.Get()); }));
      state.choices.push_back(MicrosecondsOf([&] { handler.Invoke(UINT_PTR{2}); }));
      ::Sleep(kBreak);
    }
    handler.Select(nullptr);
  }

 private:
  test::RegistrySandbox registry_;
  test::ScratchFolder applicationData_;
  test::SyncTree tree_;
  test::ExtensionLibrary library_;
  std::vector<std::wstring> items_;
};

void PrintTable(const std::vector<AgentState>& states) {
  const double query = bench::TimesOf(states[0].queries).median;
  const double choice = bench::TimesOf(states[0].choices).median;
  bench::PrintTable(
      "The caller's time by the agent's state, " + std::to_string(kItems) + " items, medians",
      {"The agent", "`QueryContextMenu`", "ratio", "`InvokeCommand`", "ratio", "aim of both", ""});
  for (const AgentState& state : states) {
    const double itsQuery = bench::TimesOf(state.queries).median;
    const double itsChoice = bench::TimesOf(state.choices).median;
    const bool isMet = itsQuery <= kAim * query && itsChoice <= kAim * choice;
    bench::PrintCells({state.name, bench::Rounded(itsQuery, 0) + " µs", bench::Rounded(itsQuery / query, 2),
                       bench::Rounded(itsChoice, 0) + " µs", bench::Rounded(itsChoice / choice, 2),
                       bench::Rounded(kAim, 2), isMet ? "met" : "missed"});
  }
}

}  // namespace
}  // namespace veskard

int main() {
  using namespace veskard;
  const AgentBench agents;
  std::vector<AgentState> states = AllStates();
  for (int round = 0; round < kRounds; ++round) {
    // Another one goes first each time.
    for (size_t i = 0; i < states.size(); ++i)
      agents.Measure(states[(static_cast<size_t>(round) + i) % states.size()]);
  }
  PrintTable(states);
}
