// The rules of the menu as a table: what is selected, and what it gets.
#pragma once

#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "tests/support/SyncTree.h"

namespace veskard::test {

struct DecisionRow {
  std::string name;
  /// Makes what is needed on the disk and returns the paths that are selected.
  std::function<std::vector<std::wstring>(SyncTree&)> select;
  std::string letters;   // of the menu (ExplorerCommandLibrary.h)
  bool isOnDisk = true;  // the shell has an item for each of the paths
};

inline std::ostream& operator<<(std::ostream& stream, const DecisionRow& row) {
  return stream << row.name << ": " << row.letters;
}

/// The whole table.
std::vector<DecisionRow> DecisionRows();

/// The rows that the shell has items for.
std::vector<DecisionRow> DecisionRowsOnDisk();

}  // namespace veskard::test
