// FormatSink: the destination of a formatting run.
#pragma once

#include <cstddef>

namespace veskard {

/// Destination of one formatting run. Both functions get the sink itself, the
/// characters and their count, already cut to the limit.
struct FormatSink {
  /// Appends characters of the run's own width.
  void (*write)(FormatSink& sink, const void* characters, size_t count);
  /// Appends characters of the other width, converted unit by unit: a wide
  /// character keeps its low byte, a narrow one becomes one unit.
  void (*writeOther)(FormatSink& sink, const void* characters, size_t count);
  size_t written = 0;  // characters so far
  size_t limit = 0;    // characters at most; the run stops once it is reached
};

}  // namespace veskard
