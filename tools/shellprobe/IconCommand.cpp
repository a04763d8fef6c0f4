// shellprobe icon: what a placeholder looks like.
#include "tools/common/Console.h"
#include "tools/common/FullPath.h"
#include "tools/common/ToolError.h"
#include "tools/common/Utf8.h"
#include "tools/shellprobe/Commands.h"
#include "tools/shellprobe/ExtractedIcons.h"

namespace veskard {
namespace {

constexpr OptionSpec kOptions[] = {
    {"--png", "OUT", "save the icon as a picture"},
    {"--size", "CLASS", "large (the default) or small"},
    {"--background", "KIND", "light (the default), dark, or none: the icon's own pixels"},
    kLibraryOption,
};

constexpr const char* kSizes[] = {"large", "small"};  // by IconClass
constexpr const char* kBackgrounds[] = {"light", "dark", "none"};
constexpr uint32_t kColours[] = {0xFFFFFF, 0x202020};

Picture Paint(HICON icon, size_t background) {
  return background < std::size(kColours) ? PaintIcon(icon, kColours[background]) : IconPixels(icon);
}

// The handler answers for names alone; whoever asks means a file.
void ExpectFile(const std::wstring& file) {
  if (::GetFileAttributesW(file.c_str()) == INVALID_FILE_ATTRIBUTES) {
    throw LastSystemError("cannot find " + ToUtf8(file));
  }
}

}  // namespace

const CommandSpec kIconSpec = {
    .program = "shellprobe",
    .name = "icon",
    .arguments = "FILE",
    .summary = "Asks the extension for a placeholder's icon and draws it.",
    .minimumArguments = 1,
    .maximumArguments = 1,
    .options = kOptions,
    .notes =
        "Exit codes: 0 done; 1 the file does not exist, or the picture cannot be written; 2 wrong\n"
        "command line; 10 not registered; 13 the handler gives no icon for this file.\n",
};

int RunIcon(const Arguments& arguments) {
  const auto size = static_cast<IconClass>(arguments.Choice("--size", kSizes, 0));
  const size_t background = arguments.Choice("--background", kBackgrounds, 0);
  const std::wstring file = FullPath(arguments.Positional()[0]);
  ExpectFile(file);
  const ComApartment apartment;
  const UniqueIcon icon = ExtractPlaceholderIcon(ClassesFor(arguments), file, size);
  const Picture picture = Paint(icon.Get(), background);
  if (arguments.Has("--png")) SavePng(picture, FullPath(arguments.Text("--png")));
  Print(ToUtf8(file) + ": " + std::to_string(picture.width) + "x" + std::to_string(picture.height) + "\n");
  return static_cast<int>(ExitCode::kDone);
}

}  // namespace veskard
