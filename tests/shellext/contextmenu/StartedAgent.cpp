// A program that a test installs as the user's agent: it takes its time, opens
// its pipe, and writes what its first client sends beside itself.
#include <windows.h>

#include <filesystem>
#include <fstream>

#include "core/ModuleHandle.h"
#include "tests/support/FakeAgent.h"

int main() {
  ::Sleep(300);
  veskard::test::FakeAgent agent(veskard::test::AgentKind::kUser);
  const auto batch = agent.NextBatch();
  if (!batch) return 1;

  // Under its own name only when it is whole.
  const auto folder = std::filesystem::path(veskard::ReadModulePath(nullptr)).parent_path();
  {
    std::ofstream file(folder / "received.part", std::ios::binary);
    for (const std::string& message : *batch) file << message << '\n';
  }
  std::filesystem::rename(folder / "received.part", folder / "received.txt");
  return 0;
}
