// LateLibrary: a library of the system that is loaded when it is first needed.
#pragma once

#include <windows.h>

#include <atomic>
#include <cstddef>
#include <span>

namespace veskard {

class LateLibrary;

/// The slot in which a module keeps the address of one function of a late library; null
/// until that is loaded. All slots of a module lie in one section, so that they can be
/// found from outside, as its imports can (tools/common/ImportSlot.h).
struct alignas(32) LateSlot {
  LateLibrary* library;
  const char* name;
  std::atomic<void*> address = nullptr;

  /// Loads the library if need be; null when that fails.
  void* Address() noexcept;
};

#define VESKARD_LATE_SECTION ".late"
#if defined(_MSC_VER)
#pragma section(VESKARD_LATE_SECTION, read, write)
#define VESKARD_LATE __declspec(allocate(VESKARD_LATE_SECTION))
#else
#define VESKARD_LATE __attribute__((section(VESKARD_LATE_SECTION)))
#endif

/// Loads the library at the first request for one of its functions, from the system's
/// folder only: a file of that name beside the host or in the current folder is never
/// loaded. All functions are resolved at once; when one is missing, none is available, so
/// that no function can allocate what another cannot free. A failure is not kept: the
/// next request tries again. The destructor frees the library. Safe from several
/// threads; nothing throws.
class LateLibrary {
 public:
  static constexpr size_t kMostFunctions = 32;

  constexpr LateLibrary(const wchar_t* fileName, std::span<LateSlot* const> slots) noexcept
      : fileName_(fileName), slots_(slots) {}
  ~LateLibrary();
  LateLibrary(const LateLibrary&) = delete;
  LateLibrary& operator=(const LateLibrary&) = delete;

  /// Whether the library is loaded and all its functions are resolved.
  bool Load() noexcept;

  /// While in use, the library is left loaded by the destructor: threads of its own may
  /// be running in it.
  void SetInUse(bool inUse) noexcept { inUse_ = inUse; }

  const wchar_t* FileName() const noexcept { return fileName_; }

 private:
  bool LookUp(HMODULE module, void* (&addresses)[kMostFunctions]) const noexcept;

  const wchar_t* fileName_;
  std::span<LateSlot* const> slots_;
  std::atomic<HMODULE> module_ = nullptr;
  std::atomic<bool> inUse_ = false;
};

/// A function of a late library, called like the function itself. Where the library
/// cannot be loaded it answers `kFailure`.
template <class Function, auto kFailure>
class LateFunction;

template <class Answer, class... Args, auto kFailure>
class LateFunction<Answer(WINAPI*)(Args...), kFailure> : public LateSlot {
 public:
  constexpr LateFunction(LateLibrary& late, const char* function) noexcept : LateSlot{&late, function} {}

  Answer operator()(Args... args) noexcept {
    const auto function = reinterpret_cast<Answer(WINAPI*)(Args...)>(Address());
    if (function == nullptr) return static_cast<Answer>(kFailure);
    return function(args...);
  }
};

}  // namespace veskard
