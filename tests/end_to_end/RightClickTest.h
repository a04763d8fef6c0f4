// The fixture of the end-to-end tests of a right-click: the registered library,
// COM, a tree on the disk, and the stand-in for the service agent.
#pragma once

#include <gmock/gmock.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/ScratchFolder.h"
#include "tools/marks/Marks.h"
#include "tools/shellprobe/ComApartment.h"
#include "tools/shellprobe/ShellMenu.h"
#include "tools/standin_agent/StandinAgent.h"

namespace veskard::test {

inline constexpr char kSync[] = "Sync to this device";
inline constexpr char kCancel[] = "Cancel receiving";
inline constexpr char kRemoveHere[] = "Remove from this device";
inline constexpr char kRemoveEverywhere[] = "Remove from all devices";
inline constexpr char kRemoveEverywhereGreyed[] = "Remove from all devices (greyed)";

inline constexpr uint32_t kShareOffset = 1;
inline constexpr uint32_t kSyncOffset = 2;
inline constexpr uint32_t kCancelOffset = 3;
inline constexpr uint32_t kRemoveHereOffset = 4;
inline constexpr uint32_t kRemoveEverywhereOffset = 5;

class RightClickTest : public testing::Test {
 protected:
  using Paths = std::vector<std::wstring>;

  static void SetUpTestSuite();
  static void TearDownTestSuite();
  ~RightClickTest() override;

  /// The user that owns folders of one's own, UTF-8.
  static std::string UserName();

  /// A selective-sync folder of everyone's, unless the record says otherwise.
  std::wstring Root(const std::wstring& name = L"Root", const FolderRecord& record = {},
                    FolderRecordSource source = FolderRecordSource::kFile);
  std::wstring Folder(const std::wstring& name);
  std::wstring File(const std::wstring& name);
  std::wstring Placeholder(const std::wstring& name, std::optional<uint32_t> progress = {});

  /// Right-clicks through COM; null agent pointers are fine.
  ShellMenu RightClick(const Paths& paths, DWORD flags = CMF_NORMAL);

  /// The texts of the menu's commands in order, "(greyed)" behind greyed ones.
  std::vector<std::string> MenuOf(const Paths& paths);

  /// Chooses a command of these paths' menu.
  void Choose(uint32_t offset, const Paths& paths);

  /// The bytes of the first `count` messages; fails when they do not come.
  std::vector<std::string> Received(size_t count);

  StandinAgent& Agent() { return *agent_; }
  /// Another agent in the place of the usual one; none at all.
  void ReplaceAgent(const AgentFaults& faults);
  void RemoveAgent() { agent_.reset(); }

  static constexpr std::chrono::seconds kPatience{30};

  ScratchFolder folder_;
  ComApartment apartment_;
  std::unique_ptr<StandinAgent> agent_ = std::make_unique<StandinAgent>();
};

}  // namespace veskard::test
