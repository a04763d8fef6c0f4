// Counts the process's live GDI objects: bitmaps, brushes, device contexts, and
// the bitmaps that icons hold.
#pragma once

#include <cstddef>

namespace veskard::test {

/// Reads the handle table that the system maps into every process, because
/// `GetGuiResources` answers 0 under Wine. Exact while no other thread draws.
size_t CountGdiHandles() noexcept;

}  // namespace veskard::test
