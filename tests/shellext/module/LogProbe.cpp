// log_probe.dll: the library with two exports more, so that a test host can write
// lines of its own and stop inside the log.
#include <windows.h>

#include "core/CriticalSection.h"
#include "shellext/module/DiagnosticLog.h"
#include "shellext/module/Log.h"

extern "C" {

void WriteProbeLine(const wchar_t* text) {
  veskard::Log(L"%s", text);
}

/// Never returns: the calling thread stays inside the log's lock, and sets the event
/// when it has it.
void StayInsideLog(HANDLE inside) {
  const veskard::CriticalSectionHold hold(veskard::LogLock());
  ::SetEvent(inside);
  ::Sleep(INFINITE);
}

}  // extern "C"
