// TokenVector: a text cut at one separator character.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace veskard {

/// The non-empty runs of characters between separators, in order:
///
///     separator   text         parts
///     '/'         "/a//b/"     "a", "b"
///     '/'         "./../x"     ".", "..", "x"   (dots are ordinary parts)
///     '/'         "///", ""    none
///     '/'         "a\b"        "a\b"
///
/// A value type: it owns its strings and belongs to one thread at a time.
/// Throws std::bad_alloc only.
class TokenVector {
 public:
  /// Empties the list and fills it with the parts of `text`.
  virtual void Assign(std::wstring_view text);

  virtual ~TokenVector() = default;
  explicit TokenVector(wchar_t separator) noexcept : separator_(separator) {}
  TokenVector(const TokenVector&) = default;
  TokenVector(TokenVector&&) = default;
  TokenVector& operator=(const TokenVector&) = default;
  TokenVector& operator=(TokenVector&&) = default;

  wchar_t Separator() const noexcept { return separator_; }
  size_t Count() const noexcept { return tokens_.size(); }
  const std::wstring& At(size_t index) const { return tokens_.at(index); }
  const std::vector<std::wstring>& Tokens() const noexcept { return tokens_; }

 protected:
  /// Appends the parts of `text` without emptying the list.
  void Split(std::wstring_view text);

  std::vector<std::wstring> tokens_;
  wchar_t separator_;
};

}  // namespace veskard
