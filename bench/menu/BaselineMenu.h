// The least that the menu's rules ask for, as plain calls: what the benchmarks hold
// the library against. Nothing is checked, nothing is kept; the log is off.
// The library's own calls are a table in tests/shellext/contextmenu/MenuCallsTest.cpp:
// where that changes, these change too.
#pragma once

#include <windows.h>
// The shell's headers need the basic types first.
#include <objidl.h>
#include <shellapi.h>
#include <shobjidl.h>

#include <cstdint>

namespace veskard::bench {

/// A whole right-click: the log's switch read as often as objects come and go,
/// the selection's list, the agent's mutex, the marks of the folder and of each item, the
/// items and their bitmaps, whose pixels are there.
void BaselineRightClick(IDataObject* selection, HMENU menu);

/// A whole choice: the agent's mutex, one message for each item, written as plain
/// text, and a thread that looks for the pipe and offers them.
void BaselineChoice(HDROP drop, uint32_t count);

/// The state of the fly-out in Explorer's own menu: the array's identity, the agent's mutex,
/// the items' names, and the marks of the folder and of each item.
EXPCMDSTATE BaselineState(IShellItemArray& selection);

/// A whole menu of Explorer's own whose class object lives already: the log's switch read when
/// the fly-out comes and when it goes, its title, the path of its picture and its state.
EXPCMDSTATE BaselineFirstMenu(IShellItemArray& selection);

}  // namespace veskard::bench
