// ClassFactory: makes the COM objects of one class.
#pragma once

#include <unknwn.h>

#include <memory>

#include "shellext/module/ComBoundary.h"
#include "shellext/module/Module.h"
#include "shellext/module/RefCountedObject.h"

namespace veskard {

/// A library that is never unloaded early: LockServer has nothing to do. A factory belongs
/// to one apartment.
struct LoadedForGood {
  using CountedObject = RefCountedObject;
  static void LockServer(bool) noexcept {}
};

/// A library that exports DllCanUnloadNow: LockServer keeps it loaded. Several threads may
/// share a factory.
struct UnloadedWhenUnused {
  using CountedObject = SharedRefCountedObject;
  static void LockServer(bool lock) noexcept { lock ? LockModule() : UnlockModule(); }
};

/// Makes objects of class `T`: default constructible, with a public destructor
/// and a QueryInterface that brings a new object's count from 0 to 1. A factory
/// itself starts at 0 too and counts as a user of the module until it is destroyed. `Lifetime` is the
/// library's.
template <class T, class Lifetime = LoadedForGood>
class ClassFactory final : public IClassFactory, private Lifetime::CountedObject {
 public:
  /// Answers IUnknown and IClassFactory, anything else with E_NOINTERFACE.
  STDMETHODIMP QueryInterface(REFIID riid, void** ppv) noexcept override {
    if (ppv == nullptr) return E_POINTER;
    *ppv = nullptr;
    if (riid != IID_IUnknown && riid != IID_IClassFactory) return E_NOINTERFACE;
    *ppv = static_cast<IClassFactory*>(this);
    AddRef();
    return S_OK;
  }
  STDMETHODIMP_(ULONG) AddRef() noexcept override { return this->AddReference(); }
  STDMETHODIMP_(ULONG) Release() noexcept override { return this->ReleaseReference(); }

  /// A new object behind the interface asked for. CLASS_E_NOAGGREGATION with an
  /// outer object, E_OUTOFMEMORY when out of memory, and what the object answers
  /// otherwise; whenever that is a refusal the object is destroyed at once.
  STDMETHODIMP CreateInstance(IUnknown* outer, REFIID riid, void** ppv) noexcept override {
    if (ppv == nullptr) return E_POINTER;
    *ppv = nullptr;
    if (outer != nullptr) return CLASS_E_NOAGGREGATION;
    return ComBoundary([&] {
      auto object = std::make_unique<T>();
      const HRESULT result = object->QueryInterface(riid, ppv);
      if (SUCCEEDED(result)) static_cast<void>(object.release());  // its reference count owns it now
      return result;
    });
  }

  STDMETHODIMP LockServer(BOOL lock) noexcept override {
    Lifetime::LockServer(lock != FALSE);
    return S_OK;
  }

 private:
  const ModuleUse use_;
};

}  // namespace veskard
