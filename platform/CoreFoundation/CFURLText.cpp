#include "platform/CoreFoundation/CFURLText.h"

#include <algorithm>

namespace CFURLText {

namespace {

constexpr std::string_view kAlphanumeric =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
constexpr std::string_view kMarks = "-_.~!*'()";
// In a path ";" and "?" would end the component's name, so they are encoded although ";" may stand.
constexpr std::string_view kPathExtra = "/:@&=+$,";
constexpr std::string_view kReserved = ";/?:@&=+$,#[]";

bool Contains(std::string_view set, char c) {
  return set.find(c) != std::string_view::npos;
}

bool IsPathCharacter(char c) {
  return Contains(kAlphanumeric, c) || Contains(kMarks, c) || Contains(kPathExtra, c);
}

bool IsURLCharacter(char c) {
  return Contains(kAlphanumeric, c) || Contains(kMarks, c) || Contains(kReserved, c);
}

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

/// The byte of the "%XX" at `at`, or -1.
int EscapedByte(std::string_view text, std::size_t at) {
  if (text.size() - at < 3) return -1;
  const int high = HexDigit(text[at + 1]);
  const int low = HexDigit(text[at + 2]);
  return high < 0 || low < 0 ? -1 : high * 16 + low;
}

void AppendEscaped(std::string& out, char c) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  const auto byte = static_cast<unsigned char>(c);
  out += '%';
  out += kDigits[byte >> 4];
  out += kDigits[byte & 15];
}

bool IsScheme(std::string_view text) {
  if (text.empty() || !Contains(kAlphanumeric.substr(0, 52), text[0])) return false;
  for (const char c : text) {
    if (!Contains(kAlphanumeric, c) && !Contains("+-.", c)) return false;
  }
  return true;
}

/// RFC 3986, section 5.2.4.
std::string RemoveDotSegments(std::string_view in) {
  std::string out;
  while (!in.empty()) {
    if (in.starts_with("../")) {
      in.remove_prefix(3);
    } else if (in.starts_with("./") || in.starts_with("/./")) {
      in.remove_prefix(2);
    } else if (in == "/.") {
      in = "/";
    } else if (in.starts_with("/../") || in == "/..") {
      const std::size_t slash = out.rfind('/');
      out.erase(slash == std::string::npos ? 0 : slash);
      in = in == "/.." ? std::string_view("/") : in.substr(3);
    } else if (in == "." || in == "..") {
      in = {};
    } else {
      const std::size_t end = in.find('/', 1);
      out += in.substr(0, end);
      in = end == std::string_view::npos ? std::string_view() : in.substr(end);
    }
  }
  return out;
}

/// RFC 3986, section 5.2.3.
std::string MergePaths(const Parts& base, const std::string& path) {
  if (base.authority && base.path.empty()) return "/" + path;
  const std::size_t slash = base.path.rfind('/');
  return slash == std::string::npos ? path : base.path.substr(0, slash + 1) + path;
}

}  // namespace

bool IsWellFormed(std::string_view text) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '%' ? EscapedByte(text, i) < 0 : !IsURLCharacter(text[i])) return false;
  }
  return true;
}

Parts Split(std::string_view text) {
  Parts parts;
  if (const std::size_t hash = text.find('#'); hash != std::string_view::npos) {
    parts.fragment = text.substr(hash + 1);
    text = text.substr(0, hash);
  }
  if (const std::size_t mark = text.find('?'); mark != std::string_view::npos) {
    parts.query = text.substr(mark + 1);
    text = text.substr(0, mark);
  }
  if (const std::size_t colon = text.find(':');
      colon != std::string_view::npos && IsScheme(text.substr(0, colon))) {
    parts.scheme = text.substr(0, colon);
    text.remove_prefix(colon + 1);
  }
  if (text.starts_with("//")) {
    text.remove_prefix(2);
    const std::size_t slash = std::min(text.find('/'), text.size());
    parts.authority = text.substr(0, slash);
    text.remove_prefix(slash);
  }
  parts.path = text;
  return parts;
}

std::string Join(const Parts& parts) {
  std::string text;
  if (parts.scheme) text += *parts.scheme + ":";
  if (parts.authority) {
    text += "//" + *parts.authority;
    if (!parts.path.empty() && !parts.path.starts_with('/')) text += '/';
  } else if (parts.path.starts_with("//")) {
    text += "/.";
  }
  std::size_t plain = 0;
  if (!parts.scheme && !parts.authority) {
    for (; plain < parts.path.size() && parts.path[plain] != '/'; ++plain) {
      if (parts.path[plain] == ':') {
        AppendEscaped(text, ':');
      } else {
        text += parts.path[plain];
      }
    }
  }
  text += parts.path.substr(plain);
  if (parts.query) text += "?" + *parts.query;
  if (parts.fragment) text += "#" + *parts.fragment;
  return text;
}

Parts Resolve(const Parts& base, const Parts& reference) {
  Parts target;
  target.fragment = reference.fragment;
  if (reference.scheme) {
    target = reference;
    target.path = RemoveDotSegments(reference.path);
    return target;
  }
  target.scheme = base.scheme;
  if (reference.authority) {
    target.authority = reference.authority;
    target.path = RemoveDotSegments(reference.path);
    target.query = reference.query;
    return target;
  }
  target.authority = base.authority;
  if (reference.path.empty()) {
    target.path = base.path;
    target.query = reference.query ? reference.query : base.query;
    return target;
  }
  target.path = RemoveDotSegments(
      reference.path.starts_with('/') ? reference.path : MergePaths(base, reference.path));
  target.query = reference.query;
  return target;
}

std::string EncodePath(std::string_view path) {
  std::string text;
  text.reserve(path.size());
  for (const char c : path) {
    if (IsPathCharacter(c)) {
      text += c;
    } else {
      AppendEscaped(text, c);
    }
  }
  return text;
}

std::string Encode(std::string_view text, std::string_view leave, std::string_view alsoEncode) {
  std::string out;
  out.reserve(text.size());
  for (const char c : text) {
    const bool mayStand = IsURLCharacter(c) && !Contains("#[]", c);
    if (Contains(leave, c) || (mayStand && !Contains(alsoEncode, c))) {
      out += c;
    } else {
      AppendEscaped(out, c);
    }
  }
  return out;
}

std::optional<std::string> Decode(std::string_view text, std::string_view leave) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '%') {
      out += text[i];
      continue;
    }
    const int byte = EscapedByte(text, i);
    if (byte < 0) return std::nullopt;
    if (Contains(leave, static_cast<char>(byte))) {
      out += text.substr(i, 3);
    } else {
      out += static_cast<char>(byte);
    }
    i += 2;
  }
  return out;
}

std::string_view WithoutTrailingSlash(std::string_view path) {
  while (path.size() > 1 && path.ends_with('/')) path.remove_suffix(1);
  return path;
}

std::string_view LastComponent(std::string_view path) {
  path = WithoutTrailingSlash(path);
  if (path == "/") return path;
  const std::size_t slash = path.rfind('/');
  return slash == std::string_view::npos ? path : path.substr(slash + 1);
}

std::size_t ExtensionDot(std::string_view component) {
  const std::size_t dot = component.rfind('.');
  if (dot == 0 || dot == std::string_view::npos || dot + 1 == component.size()) {
    return std::string_view::npos;
  }
  return dot;
}

}  // namespace CFURLText
