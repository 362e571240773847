// The text of a URL, taken apart and put together as RFC 3986 says. No objects, only bytes.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace CFURLText {

struct Parts {
  std::optional<std::string> scheme;
  std::optional<std::string> authority;
  std::string path;
  std::optional<std::string> query;
  std::optional<std::string> fragment;

  /// Whether the path is hierarchical: not the opaque rest of "mailto:a@b".
  bool isHierarchical() const { return !scheme || authority || path.starts_with('/'); }
};

/// Whether every character may stand in a URL and every "%" has its two hexadecimal digits.
bool IsWellFormed(std::string_view text);

Parts Split(std::string_view text);
/// What Split takes apart again into the same parts: a path that would read as a scheme or an
/// authority is written so that it does not.
std::string Join(const Parts& parts);
/// RFC 3986, section 5.2.2.
Parts Resolve(const Parts& base, const Parts& reference);

/// A path's bytes with everything encoded that may not stand in a URL's path; "/" stays.
std::string EncodePath(std::string_view path);
/// `text` with every byte encoded that no URL may hold or that is in `alsoEncode`, unless it is in
/// `leave`. "%" counts as a byte that may not stand.
std::string Encode(std::string_view text, std::string_view leave, std::string_view alsoEncode);
/// Decodes every "%XX" but those of the characters in `leave`; nothing when a "%" is malformed.
std::optional<std::string> Decode(std::string_view text, std::string_view leave = {});

/// `path` without the slashes at its end; the root stays "/".
std::string_view WithoutTrailingSlash(std::string_view path);
/// The last component, still encoded; "/" for the root.
std::string_view LastComponent(std::string_view path);
/// The extension's place in a component: of its dot, or npos when it has none.
std::size_t ExtensionDot(std::string_view component);

}  // namespace CFURLText
