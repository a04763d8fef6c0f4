#include "tests/end_to_end/RightClickTest.h"

#include "tests/end_to_end/Registrar.h"
#include "tools/common/Utf8.h"
#include "tools/shellprobe/ThreadWatch.h"

namespace veskard::test {

void RightClickTest::SetUpTestSuite() {
  ASSERT_EQ(RegisterExtension().exitCode, 0u);
}

void RightClickTest::TearDownTestSuite() {
  EXPECT_EQ(UnregisterExtension().exitCode, 0u);
}

RightClickTest::~RightClickTest() = default;

std::string RightClickTest::UserName() {
  wchar_t name[256] = {};
  DWORD size = static_cast<DWORD>(std::size(name));
  EXPECT_TRUE(::GetUserNameW(name, &size));
  return ToUtf8(name);
}

std::wstring RightClickTest::Root(const std::wstring& name, const FolderRecord& record,
                                  FolderRecordSource source) {
  const std::wstring root = folder_ / name;
  LayFolderRecord(root, record, source);
  return root;
}

std::wstring RightClickTest::Folder(const std::wstring& name) {
  // A file below makes the folder.
  LayFile(folder_ / (name + L"\\inside.txt"), "x");
  return folder_ / name;
}

std::wstring RightClickTest::File(const std::wstring& name) {
  LayFile(folder_ / name, "content");
  return folder_ / name;
}

std::wstring RightClickTest::Placeholder(const std::wstring& name, std::optional<uint32_t> progress) {
  LayPlaceholder(folder_ / name, {.progress = progress}, PlaceholderSource::kStream);
  return folder_ / name;
}

ShellMenu RightClickTest::RightClick(const Paths& paths, DWORD flags) {
  return ShellMenu(ExtensionClasses(), paths, {.flags = flags});
}

std::vector<std::string> RightClickTest::MenuOf(const Paths& paths) {
  const ShellMenu menu = RightClick(paths);
  EXPECT_EQ(menu.Answer(), 6);
  std::vector<std::string> texts;
  for (const ShellMenuItem& item : menu.Items()) {
    texts.push_back(ToUtf8(item.text) + (item.greyed ? " (greyed)" : ""));
  }
  return texts;
}

void RightClickTest::Choose(uint32_t offset, const Paths& paths) {
  const ShellMenu menu = RightClick(paths);
  const ThreadWatch senders;
  EXPECT_EQ(menu.Invoke(offset), S_OK);
  EXPECT_TRUE(senders.WaitForNewThreads(kPatience));
}

std::vector<std::string> RightClickTest::Received(size_t count) {
  EXPECT_TRUE(agent_->WaitForMessages(count, kPatience));
  std::vector<std::string> bytes;
  for (const ReceivedMessage& message : agent_->Messages()) bytes.push_back(message.bytes);
  return bytes;
}

void RightClickTest::ReplaceAgent(const AgentFaults& faults) {
  agent_.reset();
  agent_ = std::make_unique<StandinAgent>(StandinAgent::Options{.faults = faults});
}

}  // namespace veskard::test
