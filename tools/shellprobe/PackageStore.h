// PackageStore: the packages that are registered in Windows.
#pragma once

#include <string>
#include <vector>

namespace veskard {

struct KnownPackage {
  std::wstring fullName;
  bool forThisUser = false;
  bool forAllUsers = false;  // others get it when they sign in
  /// The folder outside the package where its programs lie; empty when Windows does not return it.
  std::wstring location;
};

/// Packages of that name, of any version and publisher, in the order of their full names.
/// Windows is asked by its package functions, where it has them (8.1 and later); they answer
/// for one publisher, `publisherId`, and for this user. Other publishers' packages, and those
/// for all users, are looked up where Windows keeps them in the registry, since it has no
/// function for that which every user may call. Throws std::bad_alloc only.
std::vector<KnownPackage> FindPackages(const std::wstring& name, const std::wstring& publisherId);

}  // namespace veskard
