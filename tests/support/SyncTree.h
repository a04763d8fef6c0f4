// A tree on the disk with the marks that an agent leaves, made for one test.
#pragma once

#include <string>
#include <string_view>

#include "tests/support/ScratchFolder.h"

namespace veskard::test {

/// A new folder of its own, removed with all it holds at the end.
/// Paths given to the methods are relative to it, with backslashes; every method
/// that makes something also makes the folders above it and returns the full path.
/// A failure ends the test program: nothing could be tested then.
class SyncTree {
 public:
  std::wstring Path(std::wstring_view relative = {}) const;

  std::wstring MakeFolder(std::wstring_view relative);
  std::wstring MakeFile(std::wstring_view relative, std::string_view bytes = {});

  /// A stream of a file: the file is made when it is missing.
  void WriteStream(std::wstring_view relative, std::wstring_view stream, std::string_view bytes);

  /// The mark of a root: an empty `.sync\ID`. Returns the root's full path.
  std::wstring MarkRoot(std::wstring_view relative);

  /// The same with a folder record, as bencoded bytes, in `.sync\FolderType`.
  std::wstring MarkRoot(std::wstring_view relative, std::string_view record);

  /// A placeholder file with a status, as bencoded bytes, in the agent's stream.
  std::wstring MakePlaceholder(std::wstring_view relative, std::string_view status);

 private:
  ScratchFolder folder_;
};

/// Records as the agent writes them. A selective folder, without and with the
/// leave to remove its content everywhere, and one with an owner.
inline constexpr char kSelective[] = "d4:modei1ee";
inline constexpr char kSelectiveRemovable[] = "d4:modei1e4:typei2ee";
inline constexpr char kNotSelective[] = "d4:modei0e4:typei2ee";
std::string SelectiveOwnedBy(std::string_view owner);

/// Statuses as the agent writes them.
inline constexpr char kNotReceived[] = "de";
inline constexpr char kReceiving[] = "d10:vlk_statusi40ee";

}  // namespace veskard::test
