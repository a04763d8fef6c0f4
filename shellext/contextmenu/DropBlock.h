// DropBlock: the bytes of a drop list.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace veskard {

/// Finds the names in a block that it does not own:
///
///     0        4                  16       20
///     +--------+------------------+--------+- - -+-----------------------------+- - -
///     | pFiles | point, its frame | fWide  | any | name 0 name 0 ... name 0  0 | any
///     +--------+------------------+--------+- - -+-----------------------------+- - -
///       pFiles: where the first name begins, in bytes from the block's begin
///       fWide:  0: the names are bytes in the system's ANSI code page; else UTF-16,
///               which may begin at an odd address
///
/// The block may be malformed; nothing outside it is read: a last name
/// without a terminator ends with the block, and half a character there counts as none.
/// A block that is too small for the 20 bytes, and one whose names would begin behind its
/// end, has no names. An empty name ends the list, also as the first one.
class DropBlock {
 public:
  /// No names.
  DropBlock() noexcept = default;

  /// Looks once at each character up to the list's end. Throws std::bad_alloc only.
  explicit DropBlock(std::string_view bytes);

  uint32_t Count() const noexcept;

  /// A name's first `longest` characters, counted as UTF-16; empty for an index that is
  /// not in the list, and for bytes that the system does not convert. Looks at that name
  /// only. Throws std::bad_alloc only.
  std::wstring At(uint32_t index, size_t longest) const;

 private:
  std::string_view names_;
  bool isWide_ = false;
  // Where each name begins, in bytes, and the one that would follow the last.
  std::vector<size_t> begins_;
};

}  // namespace veskard
