// Writing a file so that a reader never sees a half-written one.
#pragma once

#include <cstdint>

namespace veskard {

/// Makes `size` bytes the contents of the file at `path` (zero-terminated, plain
/// or with the long-path prefix). A missing file is written directly; an existing
/// one is written aside and then replaced in one step:
///
///     path            the file
///     path.new        the new contents, until they take the file's place
///     path.N.tmp      the old contents, while they are being replaced
///
/// True on success. Also true, deliberately, when the system refuses to replace
/// the file (it is read-only, say) but lets its old contents be copied over the
/// side file: the file then keeps its old contents. False when the file cannot be
/// opened or written, or when that fallback fails too. A failed write leaves
/// path.new behind. Whatever fails, the file at `path` holds its old or its new
/// contents, whole. The thread's last error tells nothing.
bool WriteFileReplacing(const wchar_t* path, const void* buffer, uint32_t size);

}  // namespace veskard
