// AgentFolder: the folder that the agent's own installer makes for a user.
#pragma once

#include <string>

namespace veskard::test {

/// The agent's folder in the user's application data, where the diagnostic log
/// lies; made empty, and removed with everything in it.
class AgentFolder {
 public:
  AgentFolder();
  ~AgentFolder();
  AgentFolder(const AgentFolder&) = delete;
  AgentFolder& operator=(const AgentFolder&) = delete;

  const std::wstring& Path() const noexcept { return path_; }

 private:
  std::wstring path_;
};

}  // namespace veskard::test
