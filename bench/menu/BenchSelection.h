// What is right-clicked: files on the disk with their marks, and the shell's list of
// them, made once so that its making is not measured.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/DropData.h"
#include "tests/support/SyncTree.h"

namespace veskard::bench {

/// The user's selective folder, half of it local files, a quarter placeholders that
/// are being received, a quarter placeholders that are not; and a file outside.
class BenchFolder {
 public:
  explicit BenchFolder(uint32_t items);

  /// The folder's first items.
  std::vector<std::wstring> First(uint32_t count) const;
  const std::wstring& Outside() const noexcept { return outside_; }

 private:
  test::SyncTree tree_;
  std::vector<std::wstring> items_;
  std::wstring outside_;
};

/// Hands the same list to everybody who asks.
class BenchSelection {
 public:
  explicit BenchSelection(const std::vector<std::wstring>& items);

  IDataObject* Data() noexcept { return &data_; }
  HDROP Drop() const noexcept { return list_.Get(); }
  uint32_t Count() const noexcept { return count_; }

 private:
  uint32_t count_;
  test::DropListForTest list_;
  test::FakeDataObject data_;
};

}  // namespace veskard::bench
