// log_probe.dll: the library with two exports more, so that a test host can write
// lines of its own and stop inside the log.
#include <windows.h>

#include "core/CriticalSection.h"
#include "shellext/DiagnosticLog.h"
#include "shellext/Log.h"

extern "C" {

void WriteProbeLine(const wchar_t* text) {
  veskard::Log(L"%s", text);
}

/// Never returns: the calling thread stays inside the log's lock.
void StayInsideLog() {
  const veskard::CriticalSectionHold hold(veskard::LogLock());
  ::Sleep(INFINITE);
}

}  // extern "C"
