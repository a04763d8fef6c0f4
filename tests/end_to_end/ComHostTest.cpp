// A host that ends its use of COM before its command has reached the agent.
#include "tests/end_to_end/RightClickTest.h"
#include "tests/support/ChildProcess.h"

namespace veskard::test {
namespace {

class ComHostTest : public RightClickTest {};

TEST_F(ComHostTest, ComMayBeUninitializedWhileASenderWaits) {
  ReplaceAgent({.neverReads = true});
  const UniqueHandle agentMayGo(::CreateEventW(nullptr, TRUE, FALSE, L"Local\\veskard-com-host"));
  const ChildProcess host(BuiltTestProgram(L"com_host.exe"), L"");
  EXPECT_EQ(::WaitForSingleObject(agentMayGo.Get(), 30'000), WAIT_OBJECT_0);
  EXPECT_EQ(host.Wait(0), ChildProcess::kStillRunning);
  RemoveAgent();
  EXPECT_EQ(host.Wait(), 42u);
}

}  // namespace
}  // namespace veskard::test
