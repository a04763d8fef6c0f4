// IdentityPackage: the package that gives the extension an identity, as a file and by name.
#pragma once

#include <optional>
#include <string>

namespace veskard {

/// The part of its names that is the same in all versions and for all publishers.
inline constexpr wchar_t kIdentityName[] = L"Nimbrel.VeskardAgent";
inline constexpr wchar_t kIdentityFileName[] = L"VeskardExplorerCommand.msix";

/// The identity in the manifest of a package file.
struct PackageIdentity {
  std::wstring publisher;  // "CN=Nimbrel, C=AT"
  std::string version;     // four numbers: "1.2.3.0"
};

/// None when the file does not exist or holds no manifest with an identity. Throws
/// std::bad_alloc only.
std::optional<PackageIdentity> ReadPackageIdentity(const std::wstring& file);

/// The publisher's id in the names of packages: the first 64 bits of the
/// SHA-256 of its UTF-16 text, as 13 letters and digits. Empty when the system has no SHA-256.
std::wstring PublisherIdOf(const std::wstring& publisher);

/// The parts of a package's full name, "NAME_VERSION_ARCHITECTURE_RESOURCE_PUBLISHERID".
struct PackageFullName {
  std::wstring name;
  std::string version;
  std::wstring publisherId;
};
/// Parts that are missing are empty.
PackageFullName SplitFullName(const std::wstring& fullName);

}  // namespace veskard
