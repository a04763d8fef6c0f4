// PathVector: a path as a list of components and the separator that joins them.
#pragma once

#include <string>
#include <string_view>

#include "fs/util/TokenVector.h"

namespace veskard {

inline constexpr wchar_t kPathSeparator = L'\\';
inline constexpr wchar_t kCloudSeparator = L'/';

/// A path split into components, printed back whole or as its first N components.
/// No component is empty, and none but the prefixes below holds the separator.
/// ToString with the path's own separator gives the last column:
///
///     text                     components                    printed back
///     C:\a\\b\                 C:  a  b                      C:\a\b
///     C:\                      C:                            C:
///     .\x\..\y                 .  x  ..  y                   .\x\..\y
///     \a\b                     a  b                          a\b
///     a/b/c                    a/b/c                         a/b/c
///     \\srv\share\dir          \  srv  share  dir            \\srv\share\dir
///     \\?\C:                   \\?\C:                        \\?\C:
///     \\?\C:\x\y               \\?\C:  x  y                  \\?\C:\x\y
///     \\?\UNC\srv\sh\f         \\?\UNC  srv  sh  f           \\?\UNC\srv\sh\f
///     \\?\UNC\a                none (shorter than 10)        (empty)
///     \\?\GLOBALROOT\x         none (neither drive nor UNC)  (empty)
///     //srv/share              //srv/share                   //srv/share
///     cloud:/s1/s2/s3/d/e.txt  cloud://s1/s2/s3  d  e.txt    cloud://s1/s2/s3/d/e.txt
///     cloud:/s1/s2             cloud:// (too few names)      cloud://
///     Cloud:/x/y/z             Cloud:/x/y/z (wrong case)     Cloud:/x/y/z
///     (empty)                  none                          (empty)
///
/// A rooted path without a drive loses its leading separator, deliberately:
/// callers pass absolute drive, UNC or long paths. The long-path prefix comes
/// back exactly when the text had one. Cloud addresses have the separator '/',
/// all others keep the backslash; an invalid text gives fewer
/// components, never an error. A value of one thread at a time; throws
/// std::bad_alloc only.
class PathVector : public TokenVector {
 public:
  /// Parses `text`. A separator of 0 means "not yet decided": it becomes '/' when
  /// the text holds one anywhere, a backslash otherwise.
  explicit PathVector(std::wstring_view text, wchar_t separator = kPathSeparator);

  /// Replaces the components by those of `text`, with two exceptions: an empty text
  /// changes nothing, and a path with two leading backslashes but no long prefix is
  /// appended to the existing components.
  void Assign(std::wstring_view text) override;
  void Parse(std::wstring_view text) { Assign(text); }

  /// A place in the layout shared with the agent's path types; false for this one.
  virtual bool IsRemote() const noexcept { return false; }

  /// Whether separator, number of components and every component are the same,
  /// character by character.
  virtual bool Equals(const PathVector& other) const noexcept;

  /// The first `count` components (0, or more than there are: all of them)
  /// joined by `separator`.
  std::wstring ToString(wchar_t separator, size_t count) const;

 private:
  void DecideSeparator(std::wstring_view text) noexcept;
  void AppendCloudAddress(std::wstring_view text);
  void AppendLongPath(std::wstring_view text);
  void AppendUncPath(std::wstring_view text);
};

}  // namespace veskard
