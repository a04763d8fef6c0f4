#include "tools/shellprobe/IdentityPackage.h"

#include <windows.h>
// After windows.h, which it needs.
#include <wincrypt.h>

#include <array>
#include <utility>
#include <vector>

#include "core/Owner.h"
#include "fs/util/Files.h"
#include "lang/ZipReader.h"
#include "tools/common/Utf8.h"

namespace veskard {
namespace {

constexpr uint32_t kLargestPackage = 16 * 1024 * 1024;

struct CryptProviderResource {
  using Value = HCRYPTPROV;
  static constexpr Value Invalid() noexcept { return 0; }
  static void Close(Value provider) noexcept { ::CryptReleaseContext(provider, 0); }
};
struct CryptHashResource {
  using Value = HCRYPTHASH;
  static constexpr Value Invalid() noexcept { return 0; }
  static void Close(Value hash) noexcept { ::CryptDestroyHash(hash); }
};

using Sha256 = std::array<BYTE, 32>;

std::optional<Sha256> HashOf(const void* bytes, size_t size) {
  Owner<CryptProviderResource> provider;
  Owner<CryptHashResource> hash;
  Sha256 result = {};
  DWORD resultSize = sizeof result;
  const bool done =
      ::CryptAcquireContextW(provider.Out(), nullptr, nullptr, PROV_RSA_AES, CRYPT_VERIFYCONTEXT) &&
      ::CryptCreateHash(provider.Get(), CALG_SHA_256, 0, 0, hash.Out()) &&
      ::CryptHashData(hash.Get(), static_cast<const BYTE*>(bytes), static_cast<DWORD>(size), 0) &&
      ::CryptGetHashParam(hash.Get(), HP_HASHVAL, result.data(), &resultSize, 0);
  return done ? std::optional(result) : std::nullopt;
}

// What XML writes for characters that it needs itself.
std::string Unescape(std::string text) {
  constexpr std::pair<const char*, const char*> kEntities[] = {
      {"&quot;", "\""}, {"&apos;", "'"}, {"&lt;", "<"}, {"&gt;", ">"}, {"&amp;", "&"}};
  for (const auto& [entity, character] : kEntities) {
    for (size_t at = text.find(entity); at != std::string::npos; at = text.find(entity, at + 1))
      text.replace(at, std::string_view(entity).size(), character);
  }
  return text;
}

std::string AttributeOf(const std::string& element, const std::string& name) {
  const size_t begin = element.find(" " + name + "=\"");
  if (begin == std::string::npos) return {};
  const size_t value = begin + name.size() + 3;
  const size_t end = element.find('"', value);
  return end == std::string::npos ? std::string() : Unescape(element.substr(value, end - value));
}

std::string IdentityElement(const std::string& manifest) {
  const size_t begin = manifest.find("<Identity ");
  const size_t end = begin == std::string::npos ? begin : manifest.find('>', begin);
  return end == std::string::npos ? std::string() : manifest.substr(begin, end - begin);
}

}  // namespace

std::optional<PackageIdentity> ReadPackageIdentity(const std::wstring& file) {
  size_t size = 0;
  const std::unique_ptr<char[]> bytes = ReadWholeFile(file, size, kLargestPackage);
  if (!bytes) return std::nullopt;
  ZipReader reader(std::string_view(bytes.get(), size));
  std::string manifest;
  if (!reader.ReadMember("AppxManifest.xml", manifest).Succeeded()) return std::nullopt;
  const std::string element = IdentityElement(manifest);
  PackageIdentity identity = {FromUtf8(AttributeOf(element, "Publisher")), AttributeOf(element, "Version")};
  if (identity.publisher.empty() || identity.version.empty()) return std::nullopt;
  return identity;
}

std::wstring PublisherIdOf(const std::wstring& publisher) {
  constexpr wchar_t kDigits[] = L"0123456789abcdefghjkmnpqrstvwxyz";
  const std::optional<Sha256> hash = HashOf(publisher.data(), publisher.size() * sizeof(wchar_t));
  if (!hash) return {};
  uint64_t bits = 0;
  for (size_t i = 0; i < sizeof bits; ++i) bits = bits << 8 | (*hash)[i];
  std::wstring id;
  // Five bits a digit, the highest first; a zero bit makes the last digit whole.
  for (int shift = 59; shift >= 0; shift -= 5) id += kDigits[bits >> shift & 31];
  return id + kDigits[bits << 1 & 31];
}

PackageFullName SplitFullName(const std::wstring& fullName) {
  std::array<std::wstring, 5> parts;
  size_t part = 0;
  for (const wchar_t character : fullName) {
    if (character == L'_' && part + 1 < parts.size()) {
      ++part;
    } else {
      parts[part] += character;
    }
  }
  return {parts[0], ToUtf8(parts[1]), parts[4]};
}

}  // namespace veskard
