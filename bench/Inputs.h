// The inputs of the benchmarks: made here, the same on every run.
#pragma once

#include <string>

namespace veskard::bench {

/// About 3 MB: a torrent-like file, a list of 26,000 files, each a dictionary with
/// a length and a path of three names.
std::string ManySmallValues();

/// About 12 MB in four strings.
std::string FewHugeStrings();

/// The record of a synchronised folder, the mark of a placeholder, and a command
/// with its files, as the agent and the extension write them.
std::string FolderRecord();
std::string PlaceholderMark();
std::string CommandMessage();

}  // namespace veskard::bench
