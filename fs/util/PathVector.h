// PathVector: a path as a list of components and the separator that joins them.
#pragma once

#include <string>
#include <string_view>

#include "fs/util/TokenVector.h"

namespace veskard {

/// A path cut into components, printed back whole or as its first N components.
class PathVector : public TokenVector {
 public:
  explicit PathVector(std::wstring_view text);

  void Assign(std::wstring_view text) override { Parse(text); }
  virtual void Parse(std::wstring_view text);

  virtual bool Equals(const PathVector& other) const noexcept;

  /// The first `count` components (0, or more than there are: all of them)
  /// joined by `separator`.
  std::wstring ToString(wchar_t separator, size_t count) const;
};

}  // namespace veskard
