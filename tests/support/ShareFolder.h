// ShareFolder: an empty folder of a test's own, reached by a network name.
#pragma once

#include <string>

namespace veskard::test {

/// Wine looks for the share `\\server\name` in the folder unc\server\name beside
/// its drives; that is where this one lies. On Windows it is the scratch folder
/// behind the administrative share of its drive. Removed with all it holds.
class ShareFolder {
 public:
  ShareFolder();
  ~ShareFolder();
  ShareFolder(const ShareFolder&) = delete;
  ShareFolder& operator=(const ShareFolder&) = delete;

  /// `\\server\share\...`, and the same with the long prefix, `\\?\UNC\server\share\...`.
  const std::wstring& Path() const noexcept { return path_; }
  std::wstring LongPath() const { return L"\\\\?\\UNC" + path_.substr(1); }

 private:
  std::wstring path_;
};

}  // namespace veskard::test
