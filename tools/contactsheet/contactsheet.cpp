// contact-sheet: many placeholders' icons in one picture, to be looked at together.
#include <windows.h>

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <vector>

#include "tools/common/FullPath.h"
#include "tools/common/ToolError.h"
#include "tools/common/ToolMain.h"
#include "tools/common/Utf8.h"
#include "tools/marks/Marks.h"
#include "tools/shellprobe/ExtractedIcons.h"

namespace veskard {
namespace {

constexpr OptionSpec kOptions[] = {
    {"--dll", "FILE", "use this library instead of the registered one"},
};

constexpr CommandSpec kSpec = {
    .program = "contact-sheet",
    .name = "",
    .arguments = "FOLDER LARGE.png SMALL.png TYPE...",
    .summary = "Draws placeholder icons: one column for each type, one row for each state.",
    .minimumArguments = 4,
    .maximumArguments = kAnyNumber,
    .options = kOptions,
    .notes =
        "FOLDER becomes a synchronised folder with the placeholders. A type is an extension without\n"
        "its dot, \"folder\" for a folder, or \"-\" for a name without an extension. The rows: not\n"
        "being received, then 0, 15, 45, 75 and 100 percent. The icons keep their size and their\n"
        "alpha; the background is transparent.\n"
        "\n"
        "Exit codes: 0 done; 1 something cannot be read or written; 2 wrong command line; 10 not\n"
        "registered; 13 the handler gave no icon for a placeholder.\n",
};

using Progress = std::optional<uint32_t>;
constexpr std::array<Progress, 6> kRows = {std::nullopt, 0, 15, 45, 75, 100};

// A placeholder of that type and progress, laid now.
std::wstring LayOne(const std::wstring& folder, const std::wstring& type, Progress progress) {
  const std::string state = progress ? std::to_string(*progress) : "waiting";
  const bool isFolder = type == L"folder";
  std::wstring file = folder + L"\\" + FromUtf8(state) + L" " + type;
  if (!isFolder && type != L"-") file += L"." + type;
  file += L".ghpl";
  LayPlaceholder(file, {.progress = progress, .isFolder = isFolder}, PlaceholderSource::kStream);
  return file;
}

// Pictures of one size, side by side and below one another.
class Sheet {
 public:
  explicit Sheet(size_t columns) : columns_(columns) {}

  void Append(const Picture& cell) {
    if (cells_.empty()) size_ = cell.width;
    if (cell.width != size_ || cell.height != size_) {
      throw ToolError(ExitCode::kFailed, "the icons are of different sizes");
    }
    cells_.push_back(cell);
  }

  Picture Draw() const {
    const size_t side = static_cast<size_t>(size_), rows = cells_.size() / columns_;
    Picture sheet = {static_cast<int>(columns_ * side), static_cast<int>(rows * side), {}};
    sheet.pixels.resize(columns_ * side * rows * side);
    for (size_t i = 0; i < cells_.size(); ++i) {
      CopyCell(cells_[i], sheet, i % columns_ * side, i / columns_ * side);
    }
    return sheet;
  }

 private:
  static void CopyCell(const Picture& cell, Picture& sheet, size_t left, size_t top) {
    const size_t side = static_cast<size_t>(cell.width), width = static_cast<size_t>(sheet.width);
    for (size_t y = 0; y < side; ++y) {
      std::copy_n(&cell.pixels[y * side], side, &sheet.pixels[(top + y) * width + left]);
    }
  }

  size_t columns_;
  int size_ = 0;
  std::vector<Picture> cells_;
};

ExtensionClasses ClassesFor(const Arguments& arguments) {
  return arguments.Has("--dll") ? ExtensionClasses(FullPath(arguments.Text("--dll"))) : ExtensionClasses();
}

int Run(const Arguments& arguments) {
  const std::vector<std::wstring>& words = arguments.Positional();
  const std::wstring folder = FullPath(words[0]);
  const std::vector<std::wstring> types(words.begin() + 3, words.end());
  LayFolderRecord(folder, {}, FolderRecordSource::kFile);

  const ComApartment apartment;
  const ExtensionClasses classes = ClassesFor(arguments);
  Sheet large(types.size()), small(types.size());
  for (const Progress progress : kRows) {
    for (const std::wstring& type : types) {
      const PlaceholderIcons icons = ExtractPlaceholderIcons(classes, LayOne(folder, type, progress));
      large.Append(IconPixels(icons.large.Get()));
      small.Append(IconPixels(icons.small.Get()));
    }
  }
  SavePng(large.Draw(), FullPath(words[1]));
  SavePng(small.Draw(), FullPath(words[2]));
  return static_cast<int>(ExitCode::kDone);
}

constexpr Command kCommands[] = {{kSpec, Run}};

}  // namespace
}  // namespace veskard

int wmain(int count, wchar_t** words) {
  return veskard::RunTool(count, words, "contact-sheet", "Draws many placeholder icons in one picture.",
                          veskard::kCommands);
}
