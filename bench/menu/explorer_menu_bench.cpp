// explorer_menu_bench.exe: what the state of the fly-out in Explorer's own menu costs in the
// built library, as ratios to the plain calls that its rules ask for, and what a state and a
// whole menu cost where there is nothing to show, beside a command that does nothing.
#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "bench/menu/BaselineMenu.h"
#include "bench/menu/BenchArray.h"
#include "bench/menu/BenchSelection.h"
#include "bench/windows/Measure.h"
#include "core/TaskMemory.h"
#include "tests/support/ExplorerCommandLibrary.h"
#include "tests/support/FakeAgent.h"
#include "tests/support/RegistrySandbox.h"

namespace veskard::bench {
namespace {

constexpr double kAim = 1.15;
constexpr double kAimOutside = 0.2;  // milliseconds
constexpr uint32_t kCounts[] = {1, 10, 100, 1000};

using FlyOut = UniqueCom<IExplorerCommand>;

/// A command that does nothing, made by a factory that does no more.
class EmptyCommand final : public IExplorerCommand {
 public:
  static HRESULT Make(IExplorerCommand** command) {
    *command = new EmptyCommand;
    return S_OK;
  }

  STDMETHODIMP QueryInterface(REFIID, void** ppv) override {
    *ppv = nullptr;
    return E_NOINTERFACE;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
  STDMETHODIMP_(ULONG) Release() override {
    const ULONG left = --references_;
    if (left == 0) delete this;
    return left;
  }
  STDMETHODIMP GetTitle(IShellItemArray*, wchar_t** title) override { return *title = nullptr, E_NOTIMPL; }
  STDMETHODIMP GetIcon(IShellItemArray*, wchar_t** icon) override { return *icon = nullptr, E_NOTIMPL; }
  STDMETHODIMP GetToolTip(IShellItemArray*, wchar_t** tip) override { return *tip = nullptr, E_NOTIMPL; }
  STDMETHODIMP GetCanonicalName(GUID*) override { return E_NOTIMPL; }
  STDMETHODIMP GetState(IShellItemArray*, BOOL, EXPCMDSTATE* state) override {
    *state = ECS_HIDDEN;
    return S_OK;
  }
  STDMETHODIMP Invoke(IShellItemArray*, IBindCtx*) override { return E_NOTIMPL; }
  STDMETHODIMP GetFlags(EXPCMDFLAGS* flags) override {
    *flags = ECF_DEFAULT;
    return S_OK;
  }
  STDMETHODIMP EnumSubCommands(IEnumExplorerCommand**) override { return E_NOTIMPL; }

 private:
  ~EmptyCommand() = default;
  ULONG references_ = 1;
};

/// A host with a registry of its own where the log is off, and a service agent that is there
/// but takes no messages.
class Host {
 public:
  Host() { test::SetLogSwitch(0); }

  FlyOut NewFlyOut() const {
    FlyOut flyOut;
    factory_.Get()->CreateInstance(nullptr, IID_IExplorerCommand, reinterpret_cast<void**>(flyOut.Out()));
    return flyOut;
  }

 private:
  test::RegistrySandbox registry_;
  test::FakeAgentMutex agent_{test::AgentKind::kService};
  test::ExplorerCommandLibrary library_;
  UniqueCom<IClassFactory> factory_ = library_.Factory();
};

std::string Items(uint32_t count) {
  return std::to_string(count) + (count == 1 ? " item" : " items");
}

// Rows of fewer rounds where a round takes longer.
int RoundsFor(uint32_t count) {
  return count < 1000 ? 401 : 81;
}

// The times would be worthless otherwise.
void ExpectState(const std::string& what, EXPCMDSTATE state, EXPCMDSTATE expected) {
  if (state == expected) return;
  std::printf("%s: state %lu, not %lu\n", what.c_str(), static_cast<unsigned long>(state),
              static_cast<unsigned long>(expected));
  std::exit(1);
}

EXPCMDSTATE StateOf(IExplorerCommand& command, IShellItemArray* selection) {
  EXPCMDSTATE state = ECS_CHECKED;
  command.GetState(selection, TRUE, &state);
  return state;
}

void BenchState(const Host& host, const std::string& what, const std::vector<std::wstring>& paths,
                EXPCMDSTATE expected) {
  BenchArray selection(paths);
  const int rounds = RoundsFor(selection.Count());
  // A fly-out is inspected once: each round has one of its own, made before.
  std::vector<FlyOut> flyOuts;
  for (int i = 0; i < rounds; ++i) flyOuts.push_back(host.NewFlyOut());
  Compare(
      what, kAim, {.count = rounds},
      [&](int round) {
        ExpectState(what, StateOf(*flyOuts[static_cast<size_t>(round)].Get(), &selection), expected);
      },
      [&](int) { ExpectState(what, BaselineState(selection), expected); });
}

// What Explorer asks a command that it then does not show.
EXPCMDSTATE AskAll(IExplorerCommand& command, IShellItemArray* selection) {
  UniqueTaskString title, icon;
  EXPCMDFLAGS flags = ECF_DEFAULT;
  command.GetTitle(selection, title.Out());
  command.GetIcon(selection, icon.Out());
  command.GetFlags(&flags);
  return StateOf(command, selection);
}

using Question = std::function<EXPCMDSTATE(int round)>;

struct Questions {
  Question ours;
  Question baseline;
  Question empty;
};

void PrintOutsideHeading() {
  PrintTable("Outside every folder, 1 item: beside a command that does nothing",
             {"", "fastest, ours", "baseline", "empty command", "median, ours", "baseline", "empty command",
              "ours more than the empty command", "baseline more than it", "aim of ours", ""});
}

void BenchOutside(const std::string& what, const Questions& questions) {
  const auto hidden = [&what](const Question& question) {
    return [&](int round) { ExpectState(what, question(round), ECS_HIDDEN); };
  };
  const std::vector<Times> times = TakeTurns(
      {.count = RoundsFor(1)}, {hidden(questions.ours), hidden(questions.baseline), hidden(questions.empty)});
  std::vector<std::string> cells = {what};
  for (const Times& side : times) cells.push_back(Rounded(side.fastest, 1) + " µs");
  for (const Times& side : times) cells.push_back(Rounded(side.median, 1) + " µs");
  const double more = (times[0].median - times[2].median) / 1000;
  cells.push_back(Rounded(more, 2) + " ms");
  cells.push_back(Rounded((times[1].median - times[2].median) / 1000, 2) + " ms");
  cells.push_back(Rounded(kAimOutside, 1) + " ms");
  cells.push_back(Verdict(more, kAimOutside));
  PrintCells(cells);
}

void BenchStateOutside(const Host& host, BenchArray& selection) {
  std::vector<FlyOut> flyOuts;
  for (int i = 0; i < RoundsFor(1); ++i) flyOuts.push_back(host.NewFlyOut());
  FlyOut empty;
  EmptyCommand::Make(empty.Out());
  BenchOutside("the state",
               {[&](int round) { return StateOf(*flyOuts[static_cast<size_t>(round)].Get(), &selection); },
                [&](int) { return BaselineState(selection); },
                [&](int) { return StateOf(*empty.Get(), &selection); }});
}

void BenchMenuOutside(const Host& host, BenchArray& selection) {
  BenchOutside("a whole menu", {[&](int) { return AskAll(*host.NewFlyOut().Get(), &selection); },
                                [&](int) { return BaselineFirstMenu(selection); },
                                [&](int) {
                                  FlyOut empty;
                                  EmptyCommand::Make(empty.Out());
                                  return AskAll(*empty.Get(), &selection);
                                }});
}

void BenchExplorerMenu() {
  const Host host;
  const BenchFolder folder(1000);
  PrintHeading("The state of the fly-out");
  BenchState(host, "outside every folder, 1 item", {folder.Outside()}, ECS_HIDDEN);
  for (const uint32_t count : kCounts) BenchState(host, Items(count), folder.First(count), ECS_ENABLED);
  PrintOutsideHeading();
  BenchArray outside({folder.Outside()});
  BenchStateOutside(host, outside);
  BenchMenuOutside(host, outside);
}

}  // namespace
}  // namespace veskard::bench

int main() {
  veskard::bench::BenchExplorerMenu();
}
