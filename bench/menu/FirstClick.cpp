#include "bench/menu/FirstClick.h"

#include <cstdio>
#include <cstdlib>

#include "bench/library/Libraries.h"
#include "tests/support/ToolRun.h"

namespace veskard::bench {

FirstClick ClickInNewProcess(const std::wstring& library, const FirstClickSetting& setting) {
  std::vector<std::wstring> words = {library, setting.registry, setting.item};
  words.insert(words.end(), setting.systemLibraries.begin(), setting.systemLibraries.end());
  const test::ToolResult result = test::RunProgram(BesideThisProgram(L"first_click.exe"), words);
  FirstClick click;
  if (result.exitCode != 0 ||
      std::sscanf(result.output.c_str(), "%lf %lf", &click.loading, &click.clicking) != 2) {
    std::printf("first_click.exe failed with code %lu\n%s%s", result.exitCode, result.output.c_str(),
                result.errors.c_str());
    std::exit(1);
  }
  return click;
}

}  // namespace veskard::bench
