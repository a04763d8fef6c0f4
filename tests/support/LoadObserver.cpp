#include "tests/support/LoadObserver.h"

#include <gtest/gtest.h>
#include <winternl.h>

#include <string_view>

namespace veskard::test {
namespace {

constexpr ULONG kLoaded = 1;

template <class Function>
Function* FindInNtdll(const char* name) {
  return reinterpret_cast<Function*>(
      reinterpret_cast<void*>(::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), name)));
}

}  // namespace

struct LoadObserver::Notification {
  ULONG flags;
  const UNICODE_STRING* fullName;
  const UNICODE_STRING* baseName;
  void* base;
  ULONG size;
};

LoadObserver::LoadObserver(std::wstring name, std::function<void(HMODULE)> onLoad)
    : name_(std::move(name)), onLoad_(std::move(onLoad)) {
  using Callback = void CALLBACK(ULONG, const Notification*, void*);
  using Register = NTSTATUS NTAPI(ULONG, Callback*, void*, void**);
  auto* const start = FindInNtdll<Register>("LdrRegisterDllNotification");
  EXPECT_TRUE(start != nullptr && start(0, &OnNotification, this, &cookie_) == 0);
}

LoadObserver::~LoadObserver() {
  using Unregister = NTSTATUS NTAPI(void*);
  if (cookie_ != nullptr) FindInNtdll<Unregister>("LdrUnregisterDllNotification")(cookie_);
}

void CALLBACK LoadObserver::OnNotification(ULONG reason, const Notification* data, void* self) {
  const auto* const observer = static_cast<const LoadObserver*>(self);
  const std::wstring_view name(data->baseName->Buffer, data->baseName->Length / sizeof(wchar_t));
  if (reason == kLoaded && name == observer->name_) observer->onLoad_(static_cast<HMODULE>(data->base));
}

}  // namespace veskard::test
