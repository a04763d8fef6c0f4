// A host with a C++ run-time library of its own, as a DLL: throws, catches and runs
// threads, and calls the library while an exception of its own is being handled and
// the library runs out of memory inside. Exit code 42 when neither has disturbed the
// other.
//
//     own_runtime_host.exe LIBRARY
#include <unknwn.h>
#include <windows.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <iostream>
#include <random>
#include <sstream>
#include <stdexcept>
#include <thread>
#include <vector>

#include "shellext/ClassIds.h"
#include "tools/common/ImportSlot.h"

namespace {

using GetClassObject = HRESULT STDAPICALLTYPE(REFCLSID, REFIID, void**);

// One in three blocks that this thread asks for is refused, so that the library throws
// sooner or later; not each third, which might always be the same request of the library's.
thread_local bool isShort = false;
thread_local std::minstd_rand choice;

void* ShortMalloc(size_t size) {
  return isShort && choice() % 3 == 0 ? nullptr : std::malloc(size);
}

struct Counts {
  std::atomic<int> made = 0;
  std::atomic<int> refused = 0;
};

void CallLibrary(GetClassObject* getClassObject, unsigned index, Counts& counts) {
  IClassFactory* factory = nullptr;
  HRESULT result =
      getClassObject(veskard::ClassId(index), IID_IClassFactory, reinterpret_cast<void**>(&factory));
  IUnknown* object = nullptr;
  if (SUCCEEDED(result)) {
    result = factory->CreateInstance(nullptr, IID_IUnknown, reinterpret_cast<void**>(&object));
    factory->Release();
  }
  if (SUCCEEDED(result)) {
    object->Release();
    ++counts.made;
  } else if (result == E_OUTOFMEMORY && object == nullptr) {
    ++counts.refused;
  }
}

// Whether an exception of ours comes through the library's work unharmed.
bool HandleWhileCalling(GetClassObject* getClassObject, int number, Counts& counts) {
  std::ostringstream text;
  text << "exception " << number;
  try {
    try {
      throw std::runtime_error(text.str());
    } catch (const std::exception&) {
      CallLibrary(getClassObject, number % 2 == 0 ? 5 : 6, counts);
      throw;
    }
  } catch (const std::runtime_error& error) {
    return error.what() == text.str() && std::uncaught_exceptions() == 0;
  }
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
  if (count < 2 || ::GetModuleHandleW(L"libstdc++-6.dll") == nullptr) return 1;
  const HMODULE library = ::LoadLibraryW(arguments[1]);
  auto* const getClassObject = reinterpret_cast<GetClassObject*>(
      reinterpret_cast<void*>(::GetProcAddress(library, "DllGetClassObject")));
  if (getClassObject == nullptr) return 2;
  veskard::ForEachImport(library, [](const char* name, void** slot) {
    if (std::strcmp(name, "malloc") == 0) veskard::WriteImport(slot, reinterpret_cast<void*>(&ShortMalloc));
  });

  Counts counts;
  std::atomic<int> harmed = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int number = 0; number < 100; ++number) {
        isShort = number % 4 >= 2;
        harmed += HandleWhileCalling(getClassObject, number, counts) ? 0 : 1;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  ::FreeLibrary(library);
  std::cout << counts.made << " made, " << counts.refused << " refused, " << harmed << " harmed\n";
  const bool isRight =
      harmed == 0 && counts.made >= 200 && counts.refused > 0 && counts.made + counts.refused == 400;
  return isRight ? 42 : 3;
}
