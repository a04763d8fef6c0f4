// ComBoundary: contains exceptions at the COM interface.
#pragma once

#include <windows.h>

#include <new>
#include <system_error>

namespace veskard {

/// Runs the body of a COM method. Out of memory becomes E_OUTOFMEMORY, an
/// error of the system its HRESULT, anything else E_FAIL.
template <class Body>
HRESULT ComBoundary(Body&& body) noexcept {
  try {
    return body();
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  } catch (const std::system_error& error) {
    const HRESULT result = HRESULT_FROM_WIN32(static_cast<DWORD>(error.code().value()));
    return FAILED(result) ? result : E_FAIL;
  } catch (...) {
    return E_FAIL;
  }
}

}  // namespace veskard
