// CommandEnumerator: returns the children of the fly-out, one after the other.
#pragma once

#include <windows.h>
// The shell's headers need the basic types first.
#include <shobjidl.h>

#include <memory>
#include <vector>

#include "core/CriticalSection.h"
#include "core/WindowsOwners.h"
#include "shellext/module/Module.h"
#include "shellext/module/RefCountedObject.h"

namespace veskard {

/// A position in a list of commands; clones share the list and have a position of their own.
/// Several threads may use one enumerator: each command is returned once until Reset.
class CommandEnumerator final : public IEnumExplorerCommand, public SharedRefCountedObject {
 public:
  using Commands = std::vector<UniqueCom<IExplorerCommand>>;

  explicit CommandEnumerator(std::shared_ptr<const Commands> commands, size_t next = 0) noexcept
      : commands_(std::move(commands)), next_(next) {}

  // IUnknown
  STDMETHODIMP QueryInterface(REFIID riid, void** ppv) noexcept override;
  STDMETHODIMP_(ULONG) AddRef() noexcept override { return AddReference(); }
  STDMETHODIMP_(ULONG) Release() noexcept override { return ReleaseReference(); }

  // IEnumExplorerCommand

  /// The next `count` commands, each with a reference for the caller: S_OK, or S_FALSE when
  /// there are fewer. `fetched` may be null for one command only; E_POINTER otherwise, and
  /// where there is no place for the commands.
  STDMETHODIMP Next(ULONG count, IExplorerCommand** commands, ULONG* fetched) noexcept override;

  /// S_FALSE when there were fewer to skip; the position is then after the last one.
  STDMETHODIMP Skip(ULONG count) noexcept override;

  STDMETHODIMP Reset() noexcept override;

  /// Another enumerator at the same position.
  STDMETHODIMP Clone(IEnumExplorerCommand** clone) noexcept override;

 private:
  /// A run of the list.
  struct Run {
    size_t begin;
    size_t end;
  };
  Run Advance(ULONG count) noexcept;

  const ModuleReference moduleReference_;  // the first member, so that it is released last
  const std::shared_ptr<const Commands> commands_;
  CriticalSection lock_;
  size_t next_;
};

}  // namespace veskard
