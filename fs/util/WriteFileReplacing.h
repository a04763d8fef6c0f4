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
/// contents, whole. The thread's last error has no meaning.
///
/// Names are cut at 259 characters, only path.new beside a prefixed path is not; by the
/// length of `path`:
///
///     up to 257              written and replaced; the longest side names are cut, and
///                            still differ from the path
///     258 and more, plain    a new file is written, from 260 on under the first 259
///                            characters of its name; a file that is there keeps its old
///                            contents: false, for path.new would be cut onto the file
///     258 and more, prefixed a new file is written; one that is there keeps its old
///                            contents: true, as when the system refuses to replace it
///
/// The caller ensures one writer of a path at a time: two would share the side files, and
/// the content of one could replace the file although the other reports success.
bool WriteFileReplacing(const wchar_t* path, const void* buffer, uint32_t size);

}  // namespace veskard
