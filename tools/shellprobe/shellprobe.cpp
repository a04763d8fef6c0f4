// shellprobe: acts on the extension as Explorer does, from the command line.
#include "tools/common/FullPath.h"
#include "tools/common/ToolMain.h"
#include "tools/shellprobe/Commands.h"

namespace veskard {

ExtensionClasses ClassesFor(const Arguments& arguments) {
  if (!arguments.Has(kLibraryOption.name)) return ExtensionClasses();
  return ExtensionClasses(FullPath(arguments.Text(kLibraryOption.name)));
}

std::vector<std::wstring> SelectedPaths(const Arguments& arguments, size_t first) {
  std::vector<std::wstring> paths;
  for (size_t i = first; i < arguments.Positional().size(); ++i) {
    paths.push_back(FullPath(arguments.Positional()[i]));
  }
  return paths;
}

namespace {

const Command kCommands[] = {
    {kExplainSpec, RunExplain}, {kDoctorSpec, RunDoctor}, {kTailSpec, RunTail},
    {kMenuSpec, RunMenu},       {kInvokeSpec, RunInvoke}, {kIconSpec, RunIcon},
};

}  // namespace
}  // namespace veskard

int wmain(int count, wchar_t** words) {
  return veskard::RunTool(count, words, "shellprobe",
                          "Acts on the Explorer extension as Explorer does, from the command line.",
                          veskard::kCommands);
}
