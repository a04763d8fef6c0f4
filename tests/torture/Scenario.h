// Scenario: one thing that a host does with the library, again and again, and what
// must come of it.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "tests/support/ExplorerCommandLibrary.h"
#include "tests/support/ExtensionLibrary.h"
#include "tests/support/Faults.h"
#include "tests/support/RegistrySandbox.h"
#include "tests/support/ScratchFolder.h"

namespace veskard::test {

/// What went wrong on purpose during a run.
struct Struck {
  std::string_view function;  // the first that failed; empty: none did
  Fault fault;

  bool Nothing() const noexcept { return function.empty(); }
  bool Memory() const noexcept { return !Nothing() && fault.kind == FaultKind::kAllocation; }
  /// Whether these are the effects of this one function's failing once.
  bool Only(std::string_view name) const noexcept {
    return function == name && fault.span == FaultSpan::kOnce;
  }
  /// System calls fail from some moment on: partial results of any kind.
  bool Everything() const noexcept {
    return !Nothing() && fault.kind == FaultKind::kSystemCall && fault.span == FaultSpan::kFromThen;
  }
};

/// A host of one library with a registry and an application-data folder of its own. Each
/// round is PrepareRound, RunRound, Check, Finish; requests fail and are counted during
/// RunRound alone.
class Scenario {
 public:
  virtual ~Scenario() = default;

  virtual void Load() = 0;
  virtual void Unload() = 0;

  /// Whether it is about what the library does once: every round then has a library
  /// of its own, freshly loaded.
  virtual bool IsOnce() const { return false; }

  /// Whether a sample of its many or slow rounds has to do for a quick run.
  virtual bool IsLong() const { return IsOnce(); }

  /// The preparation of the tortured step; nothing fails in it.
  virtual void PrepareRound() = 0;

  /// The host's calls. Keeps what came of them; may be on any thread.
  virtual void RunRound() = 0;

  /// Whether the result is the documented one; after a run without failures, the whole one.
  virtual void Check(const Struck& struck) = 0;

  /// Lets go of everything that Prepare and Run have made.
  virtual void Finish() {}

 protected:
  // The log is off; it has scenarios of its own, and writing to the disk takes time.
  Scenario() {
    registry_.SetApplicationData(applicationData_.Path());
    SetLogSwitch(0);
  }

  RegistrySandbox registry_;
  ScratchFolder applicationData_;
};

/// The same with the calls that one of the built libraries is asked by.
template <class Library>
class LibraryScenario : public Scenario {
 public:
  void Load() final { library_.emplace(); }
  void Unload() final { library_.reset(); }
  void PrepareRound() final { Prepare(*library_); }
  void RunRound() final { Run(*library_); }

 protected:
  virtual void Prepare(const Library&) {}
  virtual void Run(const Library& library) = 0;

 private:
  std::optional<Library> library_;
};
using ExtensionScenario = LibraryScenario<ExtensionLibrary>;
using ExplorerCommandScenario = LibraryScenario<ExplorerCommandLibrary>;

/// Each in its own file.
std::unique_ptr<Scenario> NewRightClick();
std::unique_ptr<Scenario> NewFirstRightClick();
std::unique_ptr<Scenario> NewChoice();
std::unique_ptr<Scenario> NewFlyOut();
std::unique_ptr<Scenario> NewFirstFlyOut();
std::unique_ptr<Scenario> NewFlyOutChoice();
std::unique_ptr<Scenario> NewColdIcon();
std::unique_ptr<Scenario> NewWarmIcon();
std::unique_ptr<Scenario> NewLogSession();
std::unique_ptr<Scenario> NewLogRotation();
std::unique_ptr<Scenario> NewRegistration();
std::unique_ptr<Scenario> NewUnregistration();
std::unique_ptr<Scenario> NewLanguageTable();
std::unique_ptr<Scenario> NewCheckFile();

}  // namespace veskard::test
